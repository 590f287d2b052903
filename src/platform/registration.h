#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tavlo {

// Stands for something registered with a port. Destroying it (or assigning over it) unregisters; after that the
// registered callback is never called again. Move-only.
class [[nodiscard]] Registration {
public:
    Registration() = default;
    explicit Registration(std::function<void()> unregister) : m_unregister(std::move(unregister)) {}
    Registration(Registration&& other) noexcept : m_unregister(std::exchange(other.m_unregister, nullptr)) {}
    Registration& operator=(Registration&& other) noexcept
    {
        if (this != &other) {
            release();
            m_unregister = std::exchange(other.m_unregister, nullptr);
        }
        return *this;
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration() { release(); }

private:
    void release()
    {
        if (auto unregister = std::exchange(m_unregister, nullptr)) {
            unregister();
        }
    }

    std::function<void()> m_unregister;
};

// The handlers of one kind of event, called in the order in which they were added. A handler may add or remove
// handlers, itself too, while it is being called: a removed one is not called any more, a new one gets the next event.
// A registration ends its own handler only, and may outlive the list. Not for use by several threads at a time.
template <class... Arguments>
class HandlerList {
public:
    using Handler = std::function<void(Arguments...)>;

    Registration add(Handler handler)
    {
        const auto entry = std::make_shared<Entry>(Entry{std::move(handler)});
        m_entries->push_back(entry);
        return Registration([entries = std::weak_ptr(m_entries), entry] {
            entry->active = false;
            if (const auto list = entries.lock()) {
                list->erase(std::find(list->begin(), list->end(), entry));
            }
        });
    }

    bool isEmpty() const { return m_entries->empty(); }

    void call(Arguments... arguments) const
    {
        const auto entries = *m_entries;
        for (const auto& entry : entries) {
            if (entry->active) {
                entry->handler(arguments...);
            }
        }
    }

private:
    struct Entry {
        Handler handler;
        bool active = true;
    };

    std::shared_ptr<std::vector<std::shared_ptr<Entry>>> m_entries =
        std::make_shared<std::vector<std::shared_ptr<Entry>>>();
};

}  // namespace tavlo

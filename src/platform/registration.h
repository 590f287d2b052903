#pragma once

#include <functional>
#include <utility>

namespace tavlo {

// Stands for something registered with a port. Destroying it (or assigning over it) unregisters; after that the
// registered callback is never called again. Move-only.
class Registration {
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

}  // namespace tavlo

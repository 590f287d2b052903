#pragma once

#include "platform/queues.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <vector>

namespace tavlo {

// A main queue whose time stands still until a test moves it.
class ManualMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override
    {
        add(Duration::zero(), std::move(owner), std::move(task));
    }

    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override
    {
        add(delay, std::move(owner), std::move(task));
    }

    TimePoint now() const override
    {
        const std::lock_guard guard(m_mutex);
        return m_now;
    }

    // Runs everything that is due, and what that posts in turn, without moving time.
    void runPending() { advance(Duration::zero()); }

    // Moves time forward in the order in which tasks fall due, and runs them.
    void advance(Duration duration)
    {
        const TimePoint end = now() + duration;
        while (true) {
            Entry entry;
            {
                const std::lock_guard guard(m_mutex);
                const auto next = std::min_element(m_entries.begin(), m_entries.end());
                if (next == m_entries.end() || next->due > end) {
                    m_now = end;
                    return;
                }
                entry = std::move(*next);
                m_entries.erase(next);
                m_now = std::max(m_now, entry.due);
            }
            if (const auto alive = entry.owner.lock()) {
                entry.task();
            }
        }
    }

    // Tasks that wait and whose owner still lives.
    std::size_t waitingCount() const
    {
        const std::lock_guard guard(m_mutex);
        return static_cast<std::size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                                      [](const Entry& entry) { return !entry.owner.expired(); }));
    }

private:
    struct Entry {
        TimePoint due;
        std::uint64_t order = 0;
        std::weak_ptr<void> owner;
        std::function<void()> task;

        bool operator<(const Entry& other) const { return due != other.due ? due < other.due : order < other.order; }
    };

    void add(Duration delay, std::weak_ptr<void> owner, std::function<void()> task)
    {
        const std::lock_guard guard(m_mutex);
        m_entries.push_back({m_now + delay, m_nextOrder++, std::move(owner), std::move(task)});
    }

    mutable std::mutex m_mutex;
    TimePoint m_now{};
    std::uint64_t m_nextOrder = 0;
    std::vector<Entry> m_entries;
};

}  // namespace tavlo

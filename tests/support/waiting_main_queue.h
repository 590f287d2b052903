#pragma once

#include "platform/queues.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace tavlo {

// A main queue on real time, for tests against real servers: its tasks run while the test waits for something.
class WaitingMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override
    {
        postAfter(Duration::zero(), std::move(owner), std::move(task));
    }

    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override
    {
        const std::lock_guard guard(m_mutex);
        m_entries.push_back({now() + delay, m_nextOrder++, std::move(owner), std::move(task)});
        m_posted.notify_all();
    }

    TimePoint now() const override { return std::chrono::steady_clock::now(); }

    // Runs tasks until `isDone`, which is asked again every few milliseconds, or the limit; says which.
    bool runUntil(const std::function<bool()>& isDone, Duration limit = std::chrono::seconds(10))
    {
        const TimePoint deadline = now() + limit;
        while (!isDone()) {
            if (now() >= deadline) {
                return false;
            }
            if (std::optional<Entry> entry = next(std::min(deadline, now() + kAskInterval))) {
                if (const auto alive = entry->owner.lock()) {
                    entry->task();
                }
            }
        }
        return true;
    }

    void runFor(Duration duration)
    {
        runUntil([] { return false; }, duration);
    }

private:
    static constexpr Duration kAskInterval{5};

    struct Entry {
        TimePoint due;
        std::uint64_t order = 0;
        std::weak_ptr<void> owner;
        std::function<void()> task;
    };

    std::optional<Entry> next(TimePoint deadline)
    {
        std::unique_lock lock(m_mutex);
        while (true) {
            const auto first = std::min_element(m_entries.begin(), m_entries.end(), [](const Entry& a, const Entry& b) {
                return a.due != b.due ? a.due < b.due : a.order < b.order;
            });
            if (first != m_entries.end() && first->due <= now()) {
                Entry entry = std::move(*first);
                m_entries.erase(first);
                return entry;
            }
            if (now() >= deadline) {
                return std::nullopt;
            }
            m_posted.wait_until(lock, first != m_entries.end() ? std::min(first->due, deadline) : deadline);
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::vector<Entry> m_entries;
    std::uint64_t m_nextOrder = 0;
};

}  // namespace tavlo

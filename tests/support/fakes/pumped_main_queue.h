#pragma once

#include "platform/queues.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

namespace tavlo {

// A main queue for classes with threads of their own: a test runs the tasks on its thread and waits for those that
// other threads post. Delayed tasks wait for real time.
class PumpedMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override
    {
        postAfter(Duration::zero(), std::move(owner), std::move(task));
    }

    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override
    {
        const std::lock_guard guard(m_mutex);
        m_tasks.emplace(now() + delay, Task{std::move(owner), std::move(task)});
        m_posted.notify_all();
    }

    TimePoint now() const override { return std::chrono::steady_clock::now(); }

    // Runs tasks until `done()`; false when that does not come within `limit`.
    bool runUntil(const std::function<bool()>& done, Duration limit = std::chrono::seconds(30))
    {
        const TimePoint end = now() + limit;
        while (!done()) {
            if (!runOne(end)) {
                return done();
            }
        }
        return true;
    }

    // Runs what is due now.
    void runPending()
    {
        const TimePoint end = now();
        while (runOne(end)) {
        }
    }

private:
    struct Task {
        std::weak_ptr<void> owner;
        std::function<void()> run;
    };

    // Waits for a task until `end`; false when there was none.
    bool runOne(TimePoint end)
    {
        Task task;
        {
            std::unique_lock lock(m_mutex);
            while (m_tasks.empty() || m_tasks.begin()->first > now()) {
                const TimePoint next = m_tasks.empty() ? end : std::min(end, m_tasks.begin()->first);
                if (now() >= end) {
                    return false;
                }
                m_posted.wait_until(lock, next);
            }
            task = std::move(m_tasks.begin()->second);
            m_tasks.erase(m_tasks.begin());  // Equal times keep the order of posting.
        }
        if (const auto alive = task.owner.lock()) {
            task.run();
        }
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::multimap<TimePoint, Task> m_tasks;
};

}  // namespace tavlo

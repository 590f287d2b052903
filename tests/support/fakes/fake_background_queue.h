#pragma once

#include "platform/queues.h"
#include "support/fakes/other_thread.h"

#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tavlo {

// A background queue whose tasks run when the test says so, on threads other than the test's. Any thread.
class FakeBackgroundQueue : public BackgroundQueue {
public:
    void run(std::function<void()> task) override
    {
        const std::lock_guard guard(m_mutex);
        m_tasks.push_back(std::move(task));
    }

    std::size_t waitingCount() const
    {
        const std::lock_guard guard(m_mutex);
        return m_tasks.size();
    }

    // Runs the tasks that wait, and those that they add, one after the other in the order of adding; returns when the
    // last one has ended.
    void runAll()
    {
        while (std::function<void()> task = takeFirst()) {
            runOnAnotherThread(task);
        }
    }

    // Runs the tasks that wait now at the same time, and returns when all have ended.
    void runAllAtOnce()
    {
        std::vector<std::thread> threads;
        while (std::function<void()> task = takeFirst()) {
            threads.emplace_back(std::move(task));
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

private:
    // None when no task waits.
    std::function<void()> takeFirst()
    {
        const std::lock_guard guard(m_mutex);
        if (m_tasks.empty()) {
            return nullptr;
        }
        auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        return task;
    }

    mutable std::mutex m_mutex;
    std::deque<std::function<void()>> m_tasks;
};

}  // namespace tavlo

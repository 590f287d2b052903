#pragma once

#include "platform/queues.h"

#include <QObject>
#include <QThreadPool>

#include <chrono>
#include <memory>

namespace tavlo {

// The event loop of the thread that makes it. What still waits when it goes is dropped; no thread posts after that.
class QtMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override;
    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override;
    TimePoint now() const override;

private:
    QObject m_context;
};

// A thread pool of its own, so that blocking work never waits for, or holds up, the toolkit's own tasks.
class QtBackgroundQueue : public BackgroundQueue {
public:
    // `patience` is how long the end waits for tasks that still run.
    explicit QtBackgroundQueue(std::chrono::milliseconds patience = std::chrono::seconds(2));
    // Drops the tasks that have not begun and waits for the others, but not longer than the patience: a task that
    // hangs is left to the end of the process, which must be near.
    ~QtBackgroundQueue() override;

    void run(std::function<void()> task) override;

private:
    std::chrono::milliseconds m_patience;
    std::unique_ptr<QThreadPool> m_pool;
};

}  // namespace tavlo

#pragma once

#include "platform/queues.h"

#include <QObject>
#include <QThreadPool>

#include <chrono>
#include <memory>

namespace tavlo {

// The event loop of the thread that constructs it. Its destructor drops the tasks that still wait; nobody may post
// after that.
class QtMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override;
    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override;
    TimePoint now() const override;

private:
    QObject m_context;
};

// A thread pool besides the toolkit's, so that blocking work and the toolkit's tasks do not wait for each other.
class QtBackgroundQueue : public BackgroundQueue {
public:
    // `patience` is how long the destructor waits for tasks that still run.
    explicit QtBackgroundQueue(std::chrono::milliseconds patience = std::chrono::seconds(2));
    // Drops the tasks that have not begun and waits for the others. A task that hangs is left behind: the process must
    // be about to end.
    ~QtBackgroundQueue() override;

    void run(std::function<void()> task) override;

private:
    std::chrono::milliseconds m_patience;
    std::unique_ptr<QThreadPool> m_pool;
};

}  // namespace tavlo

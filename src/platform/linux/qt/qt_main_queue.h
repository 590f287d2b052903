#pragma once

#include "platform/main_queue.h"

#include <QObject>

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

}  // namespace tavlo

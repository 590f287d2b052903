#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>

namespace tavlo {

// Handles events until the condition holds; false when it does not within twenty seconds.
inline bool waitUntil(const std::function<bool()>& condition)
{
    using namespace std::chrono_literals;
    QTimer clock;  // conditions outside this process give no event of their own
    clock.start(10ms);
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

}  // namespace tavlo

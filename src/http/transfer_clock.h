#pragma once

#include <QTimer>

#include <chrono>
#include <functional>

namespace tavlo {

// How long a transfer may take.
struct TransferLimits {
    std::chrono::milliseconds idle;   // without a byte in either direction
    std::chrono::milliseconds whole;  // from start to end
};

// Watches one transfer and calls its handler once, when a limit has passed. Lives on one thread, whose event loop
// drives it.
class TransferClock {
public:
    TransferClock(TransferLimits limits, std::function<void()> expired);

    // Data moved: the idle time starts again.
    void touch() { m_idle.start(); }
    void stop();

private:
    void expire();

    QTimer m_idle;
    QTimer m_whole;
    std::function<void()> m_expired;
};

}  // namespace tavlo

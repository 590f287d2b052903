#include "http/transfer_clock.h"

#include <utility>

namespace tavlo {

TransferClock::TransferClock(TransferLimits limits, std::function<void()> expired) : m_expired(std::move(expired))
{
    for (QTimer* timer : {&m_idle, &m_whole}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, timer, [this] { expire(); });
    }
    m_idle.setInterval(limits.idle);
    m_whole.setInterval(limits.whole);
    m_idle.start();
    m_whole.start();
}

void TransferClock::stop()
{
    m_idle.stop();
    m_whole.stop();
}

void TransferClock::expire()
{
    stop();
    m_expired();
}

}  // namespace tavlo

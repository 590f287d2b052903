#include "linux/qt/qt_queues.h"

#include <QTimer>

#include <algorithm>

namespace tavlo {

namespace {

std::function<void()> whileAlive(std::weak_ptr<void> owner, std::function<void()> task)
{
    return [owner = std::move(owner), task = std::move(task)] {
        if (const auto alive = owner.lock()) {
            task();
        }
    };
}

}  // namespace

void QtMainQueue::post(std::weak_ptr<void> owner, std::function<void()> task)
{
    QMetaObject::invokeMethod(&m_context, whileAlive(std::move(owner), std::move(task)), Qt::QueuedConnection);
}

void QtMainQueue::postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task)
{
    // Coarse timers may be off by a twentieth, which would show in a fade or in the pause before a paste. Precise ones
    // never fire too early.
    QTimer::singleShot(std::max(delay, Duration::zero()), Qt::PreciseTimer, &m_context,
                       whileAlive(std::move(owner), std::move(task)));
}

MainQueue::TimePoint QtMainQueue::now() const
{
    return std::chrono::steady_clock::now();
}

QtBackgroundQueue::QtBackgroundQueue(std::chrono::milliseconds patience)
    : m_patience(patience), m_pool(std::make_unique<QThreadPool>())
{
    // The tasks wait rather than compute, so their number does not depend on the number of processors.
    constexpr int kThreads = 8;
    m_pool->setMaxThreadCount(kThreads);
}

QtBackgroundQueue::~QtBackgroundQueue()
{
    m_pool->clear();
    if (!m_pool->waitForDone(static_cast<int>(m_patience.count()))) {
        // The pool's destructor would wait for ever.
        static_cast<void>(m_pool.release());
    }
}

void QtBackgroundQueue::run(std::function<void()> task)
{
    m_pool->start(std::move(task));
}

}  // namespace tavlo

#include "platform/linux/qt/qt_background_queue.h"

namespace tavlo {

QtBackgroundQueue::QtBackgroundQueue(std::chrono::milliseconds patience)
    : m_patience(patience), m_pool(std::make_unique<QThreadPool>())
{
    // The tasks wait rather than compute, so their number does not follow that of the processors.
    constexpr int kThreads = 8;
    m_pool->setMaxThreadCount(kThreads);
}

QtBackgroundQueue::~QtBackgroundQueue()
{
    m_pool->clear();
    if (!m_pool->waitForDone(static_cast<int>(m_patience.count()))) {
        // Its destructor would wait without end.
        static_cast<void>(m_pool.release());
    }
}

void QtBackgroundQueue::run(std::function<void()> task)
{
    m_pool->start(std::move(task));
}

}  // namespace tavlo

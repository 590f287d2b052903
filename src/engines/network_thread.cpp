#include "engines/network_thread.h"

#include <QDeadlineTimer>
#include <QThread>

#include <chrono>
#include <utility>

namespace tavlo {

namespace {
constexpr std::chrono::seconds kLongestWait(2);
}

NetworkThread::NetworkThread(const QString& name) : m_thread(new QThread), m_context(new QObject)
{
    m_thread->setObjectName(name);
    m_context->moveToThread(m_thread);
    m_thread->start();
}

NetworkThread::~NetworkThread()
{
    // One round later, so that what those tasks have posted in turn runs too.
    post([this] { post([thread = m_thread] { thread->quit(); }); });
    if (m_thread->wait(QDeadlineTimer(kLongestWait))) {
        delete m_context;
        delete m_thread;
    }
}

void NetworkThread::post(std::function<void()> task)
{
    QMetaObject::invokeMethod(m_context, std::move(task), Qt::QueuedConnection);
}

}  // namespace tavlo

#include "http/network_thread.h"

#include <QDeadlineTimer>
#include <QThread>

#include <sys/resource.h>
#include <unistd.h>
#include <chrono>
#include <utility>
#include <vector>

namespace tavlo {

namespace {

constexpr std::chrono::seconds kLongestWait(2);
// About a tenth of what the others get.
constexpr int kNicerForSmallShare = 10;

// Kept for ever: such a thread may go on at any moment.
struct LeftBehind {
    std::mutex mutex;
    std::vector<std::shared_ptr<NetworkThread::Link>> threads;
};

LeftBehind& leftBehind()
{
    static auto& all = *new LeftBehind;
    return all;
}

}  // namespace

NetworkThread::NetworkThread(const QString& name, Share share) : m_link(std::make_shared<Link>(name))
{
    if (share == Share::Small) {
        // On Linux a nice value is the thread's own. Where it cannot be set, the share stays equal.
        post([] {
            const auto self = static_cast<id_t>(gettid());
            setpriority(PRIO_PROCESS, self, getpriority(PRIO_PROCESS, self) + kNicerForSmallShare);
        });
    }
}

NetworkThread::~NetworkThread()
{
    // One round later, so that what those tasks have posted in turn runs too.
    post([link = m_link] { link->post([thread = link->m_thread] { thread->quit(); }); });
    if (!m_link->end()) {
        const std::lock_guard guard(leftBehind().mutex);
        leftBehind().threads.push_back(m_link);
    }
}

void NetworkThread::post(std::function<void()> task)
{
    m_link->post(std::move(task));
}

bool NetworkThread::isAnyLeftBehind()
{
    const std::lock_guard guard(leftBehind().mutex);
    return !leftBehind().threads.empty();
}

NetworkThread::Link::Link(const QString& name) : m_thread(new QThread), m_context(new QObject)
{
    m_thread->setObjectName(name);
    m_context->moveToThread(m_thread);
    m_thread->start();
}

void NetworkThread::Link::post(std::function<void()> task)
{
    QMetaObject::invokeMethod(m_context, std::move(task), Qt::QueuedConnection);
}

void NetworkThread::Link::callOut(const std::function<void()>& call)
{
    const std::lock_guard guard(m_mutex);
    if (!m_leftBehind) {
        call();
    }
}

bool NetworkThread::Link::end()
{
    if (m_thread->wait(QDeadlineTimer(kLongestWait))) {
        delete m_context;
        delete m_thread;
        return true;
    }
    const std::lock_guard guard(m_mutex);
    m_leftBehind = true;
    return false;
}

}  // namespace tavlo

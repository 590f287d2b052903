#pragma once

#include <functional>
#include <memory>
#include <mutex>

class QObject;
class QString;
class QThread;

namespace tavlo {

// A thread with an event loop, for the network's work.
class NetworkThread {
public:
    // What the thread's own tasks use of it. They share it, since a thread that was left behind outlasts its object.
    class Link;

    // How much of the processor the thread gets while others want it, too.
    enum class Share { Equal, Small };

    explicit NetworkThread(const QString& name, Share share = Share::Equal);
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;
    // Runs what was posted before, then ends the thread. Waits for that two seconds at most: a thread that is held up
    // by the system, in a write to a dead network disk, is left behind. If it ever goes on, it still does the rest.
    ~NetworkThread();

    // Runs `task` on the thread, in the order of posting, never within this call. Any thread.
    void post(std::function<void()> task);
    const std::shared_ptr<Link>& link() const { return m_link; }

    // Whether any thread was left behind: it may go on at every moment until the process has ended.
    static bool isAnyLeftBehind();

private:
    const std::shared_ptr<Link> m_link;
};

class NetworkThread::Link {
public:
    explicit Link(const QString& name);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link() = default;

    // As that of the NetworkThread. Once that is gone, for tasks on the thread only.
    void post(std::function<void()> task);
    // Runs `call`, here and now, on what belongs to the rest of the program; not when the thread has been left behind,
    // since that may be gone. `call` must not block.
    void callOut(const std::function<void()>& call);

private:
    friend NetworkThread;
    // Ends the thread; false when it had to be left behind.
    bool end();

    QThread* m_thread;
    QObject* m_context;  // lives on the thread
    std::mutex m_mutex;
    bool m_leftBehind = false;
};

}  // namespace tavlo

#pragma once

#include <functional>

class QObject;
class QString;
class QThread;

namespace tavlo {

// A thread with an event loop, for the network's work.
class NetworkThread {
public:
    explicit NetworkThread(const QString& name);
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;
    // Runs what was posted before, then ends the thread. Waits for that two seconds at most: a thread that is held up
    // by the system, in a write to a dead network disk, is left behind.
    ~NetworkThread();

    // Runs `task` on the thread, in the order of posting, never within this call. Any thread.
    void post(std::function<void()> task);

private:
    QThread* m_thread;
    QObject* m_context;  // lives on the thread
};

}  // namespace tavlo

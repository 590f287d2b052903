#pragma once

#include "linux/pulse/pulse_devices.h"
#include "linux/pulse/socket_watch.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <pulse/context.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>

namespace tavlo {

// The one connection to the sound server, for the life of the process: made at launch without waiting, made again
// when the server comes back. Its thread sleeps unless the server has something to say; while the server is away it
// wakes when the server's socket appears, and on a slow retry that ends at one in a minute.
//
// The connection is its own lock: everything but the construction and the destruction is done with it held (a
// std::lock_guard or std::unique_lock of the PulseConnection), and its thread holds it during every callback.
class PulseConnection {
public:
    using Clock = std::chrono::steady_clock;
    // Hears of the connection on its thread, with the lock held.
    struct Observer {
        // The known devices changed, or the connection was made or lost.
        std::function<void()> changed;
    };

    PulseConnection();
    // Everything that uses the connection is gone by then.
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    void lock();
    void unlock();

    // The ready connection, or null.
    pa_context* context() const { return m_isReady ? m_context : nullptr; }
    PulseDevices& devices() { return m_devices; }

    // Whether the first attempt since launch is still under way; then it may be worth waiting a moment.
    bool isStarting() const { return !m_isSettled; }

    // Drops what there is and connects anew, at once.
    void reconnect();

    // Waits, with the lock released meanwhile, until `isDone` or the deadline; says which. Never on the connection's
    // own thread. `isDone` is asked again after each `wake`.
    bool waitUntil(std::unique_lock<PulseConnection>& held, Clock::time_point deadline,
                   const std::function<bool()>& isDone);
    void wake() { m_wakeUp.notify_all(); }

    void add(const Observer* observer) { m_observers.push_back(observer); }
    void remove(const Observer* observer) { std::erase(m_observers, observer); }

private:
    static void stateChanged(pa_context* context, void* self);
    void connect();
    void dropContext();
    void lost();
    void retryAfter(Clock::duration delay);
    void cancelRetry();
    void socketAppeared();
    void devicesChanged();

    pa_threaded_mainloop* m_loop = nullptr;
    pa_mainloop_api* m_api = nullptr;
    pa_context* m_context = nullptr;
    bool m_isReady = false;
    bool m_isSettled = false;
    pa_time_event* m_retry = nullptr;
    Clock::duration m_nextDelay;
    std::unique_ptr<SocketWatch> m_socketWatch;
    std::condition_variable_any m_wakeUp;
    PulseDevices m_devices;
    std::vector<const Observer*> m_observers;
};

// Takes the callbacks off the stream, closes it and gives up the reference. A stream that the server has not made yet
// cannot be closed, and would stay open once it is made: that one is closed then. Under the connection's lock.
void closeStream(pa_stream* stream);

}  // namespace tavlo

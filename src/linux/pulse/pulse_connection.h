#pragma once

#include "linux/pulse/pulse_devices.h"
#include "linux/pulse/socket_watch.h"
#include "platform/registration.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include <pulse/context.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>

namespace tavlo {

// The one connection to the sound server, for the life of the process: made at launch without waiting, and again when
// the server comes back. Its thread sleeps unless the server sends something; while there is no server it wakes when
// the server's socket appears, and for a retry, at growing intervals of up to about a minute.
//
// The connection is its own lock: everything but the construction and the destruction is done with it held (a
// std::lock_guard or std::unique_lock of the PulseConnection), and its thread holds it during every callback.
class PulseConnection {
public:
    using Clock = std::chrono::steady_clock;

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

    // Whether there is a connection, or an attempt to make one has not been answered yet.
    bool isAsking() const { return m_context != nullptr || isStarting(); }

    // Drops what there is and connects anew, at once.
    void reconnect();

    // Waits, with the lock released meanwhile, until `isDone` or the deadline; says which. Never on the connection's
    // own thread. `isDone` is asked again after each `wake`.
    bool waitUntil(std::unique_lock<PulseConnection>& held, Clock::time_point deadline,
                   const std::function<bool()>& isDone);
    void wake() { m_wakeUp.notify_all(); }

    // `changed` runs on the connection's thread when the known devices changed, or the connection was made or lost.
    // The registration, too, ends with the lock held.
    Registration onChange(std::function<void()> changed) { return m_changed.add(std::move(changed)); }

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
    HandlerList<> m_changed;
};

// Removes the stream's callbacks, closes it and releases it. A stream that the server has not made yet cannot be
// closed; it is closed as soon as it is made. Under the connection's lock.
void closeStream(pa_stream* stream);

}  // namespace tavlo

#include "linux/pulse/pulse_connection.h"

#include <algorithm>
#include <utility>

#include <pulse/proplist.h>
#include <pulse/subscribe.h>
#include <pulse/timeval.h>
#include <sys/time.h>

namespace tavlo {

namespace {

using namespace std::chrono_literals;

constexpr PulseConnection::Clock::duration kFirstDelay = 250ms;
constexpr PulseConnection::Clock::duration kLongestDelay = 64s;
// While the delay is shorter, a server may be starting at the same time, at login. After that the library looks for one
// itself, also where its settings name a server elsewhere.
constexpr PulseConnection::Clock::duration kServerIsStartingDelay = 4s;
// The socket is there a moment before the server listens on it.
constexpr PulseConnection::Clock::duration kDelayAfterSocket = 20ms;

pa_proplist* clientProperties()
{
    pa_proplist* const properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Tavlo");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "nl.pelloquintar.tavlo");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "tavlo");
    return properties;
}

}  // namespace

PulseConnection::PulseConnection() : m_nextDelay(kFirstDelay), m_devices([this] { devicesChanged(); })
{
    m_loop = pa_threaded_mainloop_new();
    if (m_loop == nullptr) {
        m_isSettled = true;
        return;
    }
    pa_threaded_mainloop_set_name(m_loop, "tavlo-audio");
    m_api = pa_threaded_mainloop_get_api(m_loop);
    m_socketWatch = std::make_unique<SocketWatch>(m_api, [this] { socketAppeared(); });
    // Connecting reads files and may resolve names, so the thread does it.
    retryAfter(0ms);
    if (pa_threaded_mainloop_start(m_loop) < 0) {
        cancelRetry();
        m_socketWatch.reset();
        pa_threaded_mainloop_free(std::exchange(m_loop, nullptr));
        m_isSettled = true;
    }
}

PulseConnection::~PulseConnection()
{
    if (m_loop == nullptr) {
        return;
    }
    pa_threaded_mainloop_stop(m_loop);
    cancelRetry();
    m_socketWatch.reset();
    dropContext();
    pa_threaded_mainloop_free(m_loop);
}

void PulseConnection::lock()
{
    if (m_loop != nullptr) {
        pa_threaded_mainloop_lock(m_loop);
    }
}

void PulseConnection::unlock()
{
    if (m_loop != nullptr) {
        pa_threaded_mainloop_unlock(m_loop);
    }
}

bool PulseConnection::waitUntil(std::unique_lock<PulseConnection>& held, Clock::time_point deadline,
                                const std::function<bool()>& isDone)
{
    if (m_loop == nullptr) {
        return isDone();
    }
    return m_wakeUp.wait_until(held, deadline, isDone);
}

void PulseConnection::reconnect()
{
    if (m_loop != nullptr) {
        dropContext();
        retryAfter(0ms);
    }
}

void PulseConnection::connect()
{
    m_socketWatch->start();
    if (m_nextDelay < kServerIsStartingDelay && SocketWatch::wouldMakeServerFolder()) {
        lost();  // the watch tells when a server has made its folder
        return;
    }
    pa_proplist* const properties = clientProperties();
    m_context = pa_context_new_with_proplist(m_api, nullptr, properties);
    pa_proplist_free(properties);
    if (m_context == nullptr) {
        lost();
        return;
    }
    pa_context_set_state_callback(m_context, &PulseConnection::stateChanged, this);
    // Starting a sound server is left to the desktop.
    if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && m_context != nullptr) {
        lost();
    }
}

void PulseConnection::stateChanged(pa_context* context, void* data)
{
    auto* const self = static_cast<PulseConnection*>(data);
    switch (pa_context_get_state(context)) {
        case PA_CONTEXT_READY:
            self->m_isReady = true;
            self->m_nextDelay = kFirstDelay;
            self->m_socketWatch->stop();
            self->cancelRetry();
            self->m_devices.attach(context);
            break;
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            self->lost();
            break;
        default:
            break;
    }
}

void PulseConnection::dropContext()
{
    m_isReady = false;
    m_devices.detach();
    if (pa_context* const context = std::exchange(m_context, nullptr)) {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_set_subscribe_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
}

void PulseConnection::lost()
{
    dropContext();
    m_isSettled = true;
    m_socketWatch->start();
    retryAfter(m_nextDelay);
    m_nextDelay = std::min(2 * m_nextDelay, kLongestDelay);
    devicesChanged();
}

void PulseConnection::retryAfter(Clock::duration delay)
{
    cancelRetry();
    timeval due{};
    pa_timeval_add(pa_gettimeofday(&due),
                   static_cast<pa_usec_t>(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()));
    m_retry = m_api->time_new(
        m_api, &due,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
            auto* const self = static_cast<PulseConnection*>(data);
            self->cancelRetry();
            self->dropContext();
            self->connect();
        },
        this);
}

void PulseConnection::cancelRetry()
{
    if (m_retry != nullptr) {
        m_api->time_free(std::exchange(m_retry, nullptr));
    }
}

void PulseConnection::socketAppeared()
{
    if (m_context != nullptr) {
        return;  // an attempt is under way; its failure sets the next one
    }
    m_nextDelay = kFirstDelay;
    retryAfter(kDelayAfterSocket);
}

void PulseConnection::devicesChanged()
{
    m_isSettled = m_isSettled || m_devices.isKnown();
    wake();
    m_changed.call();
}

namespace {

void detachCallbacks(pa_stream* stream)
{
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
}

void closeWhenMade(pa_stream* stream, void*)
{
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state == PA_STREAM_READY) {
        pa_stream_disconnect(stream);
    }
    if (state == PA_STREAM_READY || state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        detachCallbacks(stream);
        pa_stream_unref(stream);
    }
}

}  // namespace

void closeStream(pa_stream* stream)
{
    detachCallbacks(stream);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        pa_stream_set_state_callback(stream, &closeWhenMade, nullptr);
        return;
    }
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

}  // namespace tavlo

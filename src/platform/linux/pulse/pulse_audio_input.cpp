#include "platform/linux/pulse/pulse_audio_input.h"

#include "platform/linux/pulse/pulse_record_stream.h"

#include <pulse/error.h>

#include <utility>

namespace tavlo {

namespace {

using namespace std::chrono_literals;

// A user who pressed the key waits no longer than this.
constexpr PulseConnection::Clock::duration kLongestStart = 300ms;
constexpr PulseConnection::Clock::duration kLongestStop = 250ms;

tl::unexpected<Error> serverFailure(int code)
{
    // Dutch whatever the interface language, as the recorder's own descriptions are.
    const QString description = code == PA_ERR_TIMEOUT    ? QStringLiteral("De geluidsserver antwoordt niet.")
                                : code == PA_ERR_NOENTITY ? QStringLiteral("De microfoon is er niet meer.")
                                                          : QString::fromUtf8(pa_strerror(code));
    return failure(code, description, QStringLiteral("PulseAudio"));
}

}  // namespace

PulseAudioInput::PulseAudioInput(PulseConnection& connection, MainQueue& queue)
    : m_connection(connection), m_queue(queue), m_observer{[this] { devicesChanged(); }}
{
    const std::lock_guard guard(m_connection);
    m_hasLearned = !m_connection.isStarting();
    m_noticedName = microphoneName();
    m_connection.add(&m_observer);
}

PulseAudioInput::~PulseAudioInput()
{
    const std::lock_guard guard(m_connection);
    m_connection.remove(&m_observer);
    m_stream.reset();
}

AudioFormat PulseAudioInput::inputFormat()
{
    const auto deadline = PulseConnection::Clock::now() + kLongestStart;
    std::unique_lock held(m_connection);
    // Once: a server that has not answered by then is stuck, and each key press would be held up anew.
    if (m_connection.isStarting() && !std::exchange(m_hasWaited, true)) {
        m_connection.waitUntil(held, deadline, [this] { return !m_connection.isStarting(); });
    }
    PulseDevices& devices = m_connection.devices();
    if (!devices.microphone() && m_connection.context() != nullptr) {
        lookAgain(held, deadline);
    }
    m_toldMicrophone = devices.microphone();
    return m_toldMicrophone ? m_toldMicrophone->format : AudioFormat{};
}

// A PipeWire server that has just started may keep devices from those who came first, for as long as they stay. So who
// has no microphone asks again, and then comes anew; where there is none, that takes a moment and nothing is lost.
void PulseAudioInput::lookAgain(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline)
{
    m_connection.devices().askMicrophone();
    const bool isAnswered = m_connection.waitUntil(held, deadline, [this] {
        return m_connection.context() == nullptr || m_connection.devices().knowsMicrophone();
    });
    if (!isAnswered || m_connection.devices().microphone()) {
        return;
    }
    m_connection.reconnect();
    m_connection.waitUntil(held, deadline, [this] { return m_connection.devices().isKnown(); });
}

Result<void> PulseAudioInput::start(BlockHandler handler)
{
    const auto deadline = PulseConnection::Clock::now() + kLongestStart;
    std::unique_lock held(m_connection);
    m_stream.reset();
    if (m_connection.context() == nullptr) {
        return serverFailure(PA_ERR_CONNECTIONREFUSED);
    }
    const std::optional<PulseMicrophone> microphone =
        m_toldMicrophone ? std::exchange(m_toldMicrophone, std::nullopt) : m_connection.devices().microphone();
    if (!microphone) {
        return serverFailure(PA_ERR_NOENTITY);
    }
    m_stream =
        std::make_unique<PulseRecordStream>(m_connection, *microphone, std::move(handler), [this] { postNotice(); });
    const int error = m_stream->open(held, deadline);
    if (error != PA_OK) {
        m_stream.reset();
        return serverFailure(error);
    }
    return {};
}

void PulseAudioInput::stop()
{
    const auto deadline = PulseConnection::Clock::now() + kLongestStop;
    std::unique_lock held(m_connection);
    if (m_stream) {
        m_stream->finish(held, deadline);
        m_stream.reset();
    }
}

Registration PulseAudioInput::onConfigurationChange(std::function<void()> changed)
{
    const int id = m_nextHandler++;
    m_handlers->emplace(id, std::move(changed));
    return Registration([handlers = std::weak_ptr(m_handlers), id] {
        if (const auto alive = handlers.lock()) {
            alive->erase(id);
        }
    });
}

// On the connection's thread. A microphone is known by its name: a device whose rate changes is still the same one.
void PulseAudioInput::devicesChanged()
{
    if (m_connection.isStarting()) {
        return;
    }
    const std::optional<std::string> name = microphoneName();
    const bool isFirst = !std::exchange(m_hasLearned, true);  // what was there at launch is no change
    if (name != std::exchange(m_noticedName, name) && !isFirst) {
        postNotice();
    }
}

// On the connection's thread.
void PulseAudioInput::postNotice()
{
    if (!std::exchange(m_isNoticePosted, true)) {
        m_queue.post(m_lifetime.reference(), [this] { deliverNotice(); });
    }
}

void PulseAudioInput::deliverNotice()
{
    {
        const std::lock_guard guard(m_connection);
        m_isNoticePosted = false;
        const bool isOutdated = m_stream && !m_stream->isBroken() && microphoneName() == m_stream->sourceName();
        if (isOutdated) {
            return;  // the stream was opened after that change, on the new microphone
        }
    }
    const Handlers handlers = *m_handlers;
    for (const auto& [id, handler] : handlers) {
        if (m_handlers->count(id) != 0) {
            handler();
        }
    }
}

std::optional<std::string> PulseAudioInput::microphoneName() const
{
    const std::optional<PulseMicrophone>& microphone = m_connection.devices().microphone();
    return microphone ? std::optional(microphone->name) : std::nullopt;
}

}  // namespace tavlo

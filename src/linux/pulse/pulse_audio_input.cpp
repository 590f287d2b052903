#include "linux/pulse/pulse_audio_input.h"

#include "linux/pulse/pulse_connection.h"
#include "platform/text_literals.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <pulse/error.h>
#include <pulse/operation.h>
#include <pulse/proplist.h>

namespace tavlo {

namespace {

constexpr std::size_t kBlockFrames = 4096;
// Without an explicit size a server hands over up to two seconds at a time.
constexpr double kFragmentSeconds = 0.010;
constexpr double kMicrosecondsPerSecond = 1e6;

}  // namespace

PulseRecordStream::PulseRecordStream(PulseConnection& connection, const PulseMicrophone& microphone,
                                     AudioInput::BlockHandler handler, std::function<void()> broken)
    : m_connection(connection),
      m_microphone(microphone),
      m_handler(std::move(handler)),
      m_broken(std::move(broken)),
      m_blockSamples(kBlockFrames * static_cast<std::size_t>(microphone.format.channelCount))
{
    m_block.reserve(m_blockSamples);
}

PulseRecordStream::~PulseRecordStream()
{
    if (m_stream != nullptr) {
        closeStream(m_stream);
    }
}

int PulseRecordStream::open(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline)
{
    pa_context* const context = m_connection.context();
    pa_sample_spec spec{};
    spec.format = PA_SAMPLE_FLOAT32NE;
    spec.rate = static_cast<std::uint32_t>(m_microphone.format.sampleRate);
    spec.channels = static_cast<std::uint8_t>(m_microphone.format.channelCount);
    m_stream = pa_stream_new(context, "Dictation", &spec, &m_microphone.channelMap);
    if (m_stream == nullptr) {
        return pa_context_errno(context);
    }
    pa_stream_set_state_callback(
        m_stream, [](pa_stream*, void* self) { static_cast<PulseRecordStream*>(self)->stateChanged(); }, this);
    pa_stream_set_read_callback(
        m_stream, [](pa_stream*, std::size_t, void* self) { static_cast<PulseRecordStream*>(self)->readAvailable(); },
        this);
    pa_stream_set_moved_callback(
        m_stream, [](pa_stream*, void* self) { static_cast<PulseRecordStream*>(self)->breakDown(); }, this);

    pa_buffer_attr buffer{};
    buffer.maxlength = buffer.tlength = buffer.prebuf = buffer.minreq = static_cast<std::uint32_t>(-1);
    buffer.fragsize =
        static_cast<std::uint32_t>(std::lround(m_microphone.format.sampleRate * kFragmentSeconds) * frameSize());
    if (pa_stream_connect_record(m_stream, m_microphone.name.c_str(), &buffer, PA_STREAM_ADJUST_LATENCY) < 0) {
        return pa_context_errno(context);
    }
    m_connection.waitUntil(held, deadline, [this] { return m_received > 0 || m_isBroken; });
    if (m_isBroken) {
        return m_connection.context() != nullptr ? pa_context_errno(m_connection.context())
                                                 : PA_ERR_CONNECTIONTERMINATED;
    }
    return pa_stream_get_state(m_stream) == PA_STREAM_READY ? PA_OK : PA_ERR_TIMEOUT;
}

void PulseRecordStream::finish(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline)
{
    if (isAlive()) {
        // What the server says is now between the microphone and this program is still to come.
        pa_operation* const question = pa_stream_update_timing_info(
            m_stream,
            [](pa_stream*, int, void* data) {
                auto* const self = static_cast<PulseRecordStream*>(data);
                self->m_hasTiming = true;
                self->m_connection.wake();
            },
            this);
        m_connection.waitUntil(held, deadline, [this] { return m_hasTiming || m_isBroken; });
        if (question != nullptr) {
            pa_operation_cancel(question);
            pa_operation_unref(question);
        }
    }
    pa_usec_t latency = 0;
    int isNegative = 0;
    if (isAlive() && m_hasTiming && pa_stream_get_latency(m_stream, &latency, &isNegative) == 0 && isNegative == 0) {
        const double frames = static_cast<double>(latency) * m_microphone.format.sampleRate / kMicrosecondsPerSecond;
        const std::uint64_t wanted = m_received + static_cast<std::uint64_t>(std::ceil(frames));
        m_connection.waitUntil(held, deadline, [this, wanted] { return m_received >= wanted || m_isBroken; });
    }
    if (!m_block.empty()) {
        deliverBlock();
    }
    m_handler = nullptr;
}

void PulseRecordStream::stateChanged()
{
    const pa_stream_state_t state = pa_stream_get_state(m_stream);
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        breakDown();
    }
    m_connection.wake();
}

void PulseRecordStream::readAvailable()
{
    while (pa_stream_readable_size(m_stream) > 0) {
        const void* data = nullptr;
        std::size_t byteCount = 0;
        if (pa_stream_peek(m_stream, &data, &byteCount) < 0 || byteCount == 0) {
            break;
        }
        append(static_cast<const float*>(data), byteCount / sizeof(float));
        m_received += byteCount / frameSize();
        pa_stream_drop(m_stream);
    }
    m_connection.wake();
}

// Null samples are a hole: the server lost that many. Silence takes their place, so that what follows is not early.
void PulseRecordStream::append(const float* samples, std::size_t sampleCount)
{
    while (sampleCount > 0 && m_handler) {
        const std::size_t count = std::min(sampleCount, m_blockSamples - m_block.size());
        if (samples != nullptr) {
            m_block.insert(m_block.end(), samples, samples + count);
            samples += count;
        } else {
            m_block.insert(m_block.end(), count, 0.0F);
        }
        sampleCount -= count;
        if (m_block.size() == m_blockSamples) {
            deliverBlock();
        }
    }
}

void PulseRecordStream::deliverBlock()
{
    const auto channels = static_cast<std::size_t>(m_microphone.format.channelCount);
    if (m_handler) {
        m_handler({m_microphone.format, m_block.data(), m_block.size() / channels});
    }
    m_block.clear();
}

void PulseRecordStream::breakDown()
{
    if (!std::exchange(m_isBroken, true)) {
        m_connection.wake();
        m_broken();
    }
}

bool PulseRecordStream::isAlive() const
{
    return m_stream != nullptr && m_connection.context() != nullptr && pa_stream_get_state(m_stream) == PA_STREAM_READY;
}

std::size_t PulseRecordStream::frameSize() const
{
    return sizeof(float) * static_cast<std::size_t>(m_microphone.format.channelCount);
}

namespace {

using namespace std::chrono_literals;

// A user who pressed the key waits no longer than this.
constexpr PulseConnection::Clock::duration kLongestStart = 300ms;
constexpr PulseConnection::Clock::duration kLongestStop = 250ms;

tl::unexpected<Error> serverFailure(int code)
{
    // Dutch whatever the interface language, as the recorder's own descriptions are.
    const QString description = code == PA_ERR_TIMEOUT    ? u"De geluidsserver antwoordt niet."_s
                                : code == PA_ERR_NOENTITY ? u"De microfoon is er niet meer."_s
                                                          : QString::fromUtf8(pa_strerror(code));
    return failure(code, description, u"PulseAudio"_s);
}

}  // namespace

PulseAudioInput::PulseAudioInput(PulseConnection& connection, MainQueue& queue)
    : m_connection(connection), m_queue(queue)
{
    const std::lock_guard guard(m_connection);
    m_hasLearned = !m_connection.isStarting();
    m_noticedName = microphoneName();
    m_connectionChanges = m_connection.onChange([this] { devicesChanged(); });
}

PulseAudioInput::~PulseAudioInput()
{
    const std::lock_guard guard(m_connection);
    m_connectionChanges = {};
    m_stream.reset();
}

Result<AudioFormat> PulseAudioInput::inputFormat()
{
    const auto deadline = PulseConnection::Clock::now() + kLongestStart;
    std::unique_lock held(m_connection);
    // Only once: a server that has not answered by then hangs, and would hold up every key press.
    if (m_connection.isStarting() && !std::exchange(m_hasWaited, true)) {
        m_connection.waitUntil(held, deadline, [this] { return !m_connection.isStarting(); });
    }
    PulseDevices& devices = m_connection.devices();
    bool isAnswered = devices.knowsMicrophone();
    if (!devices.microphone() && m_connection.context() != nullptr) {
        isAnswered = lookAgain(held, deadline);
    }
    m_toldMicrophone = devices.microphone();
    if (m_toldMicrophone) {
        return m_toldMicrophone->format;
    }
    // A server that does not answer may well have a microphone.
    if (!isAnswered && m_connection.isAsking()) {
        return serverFailure(PA_ERR_TIMEOUT);
    }
    return AudioFormat{};
}

// Asks for the microphone again; returns whether the server answered. A PipeWire server that has just started may hide
// devices from the programs that connected first, for as long as they are connected. So if it names no microphone, the
// connection is made anew too. Where there really is none, that takes a moment and does no harm.
bool PulseAudioInput::lookAgain(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline)
{
    m_connection.devices().askMicrophone();
    m_connection.waitUntil(held, deadline, [this] {
        return m_connection.context() == nullptr || m_connection.devices().knowsMicrophone();
    });
    const bool isAnswered = m_connection.devices().knowsMicrophone();
    if (isAnswered && !m_connection.devices().microphone()) {
        m_connection.reconnect();
        m_connection.waitUntil(held, deadline, [this] { return m_connection.devices().isKnown(); });
    }
    return isAnswered;
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

// On the connection's thread. A microphone is known by its name: a device whose rate changes is still the same one.
void PulseAudioInput::devicesChanged()
{
    if (m_connection.isStarting()) {
        return;
    }
    const std::optional<std::string> name = microphoneName();
    const bool isFirst = !std::exchange(m_hasLearned, true);  // what is there at launch is no change
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
            return;  // the stream was opened after the change, on the new microphone
        }
    }
    m_changed.call();
}

std::optional<std::string> PulseAudioInput::microphoneName() const
{
    const std::optional<PulseMicrophone>& microphone = m_connection.devices().microphone();
    return microphone ? std::optional(microphone->name) : std::nullopt;
}

}  // namespace tavlo

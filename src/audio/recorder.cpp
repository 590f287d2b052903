#include "audio/recorder.h"

#include "audio/speech_converter.h"
#include "platform/text_literals.h"

#include <QByteArrayList>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace tavlo {

namespace {

constexpr double kQuietestRms = 0.00001;  // -100 dBFS, keeps the logarithm of silence finite
constexpr double kRangeDecibels = 50;

}  // namespace

float blockLevel(const AudioBlock& block)
{
    if (block.samples == nullptr || block.frameCount == 0 || block.format.channelCount < 1) {
        return 0;
    }
    const auto stride = static_cast<std::size_t>(block.format.channelCount);
    double sumOfSquares = 0;
    for (std::size_t frame = 0; frame < block.frameCount; ++frame) {
        const double sample = block.samples[frame * stride];
        sumOfSquares += sample * sample;
    }
    const double rms = std::sqrt(sumOfSquares / static_cast<double>(block.frameCount));
    // A sample that is no number makes the sum no number; such a block counts as silence.
    const double audible = std::isfinite(rms) ? std::max(rms, kQuietestRms) : kQuietestRms;
    const double level = (20 * std::log10(audible) + kRangeDecibels) / kRangeDecibels;
    return static_cast<float>(std::clamp(level, 0.0, 1.0));
}

namespace {

constexpr int kNoInputCode = 1;
constexpr int kNoConverterCode = 2;

}  // namespace

// The samples stay in the pieces in which they came: joining them while recording would sooner or later make the
// capture thread copy the whole recording.
class Recorder::Collected {
public:
    void reset()
    {
        const std::lock_guard guard(m_mutex);
        m_pieces.clear();
        m_peak = 0;
    }

    void raisePeak(float level)
    {
        const std::lock_guard guard(m_mutex);
        m_peak = std::max(m_peak, level);
    }

    float peak() const
    {
        const std::lock_guard guard(m_mutex);
        return m_peak;
    }

    void append(const QByteArray& samples)
    {
        if (samples.isEmpty()) {
            return;
        }
        const std::lock_guard guard(m_mutex);
        m_pieces.append(samples);
    }

    QByteArray take()
    {
        QByteArrayList pieces;
        {
            const std::lock_guard guard(m_mutex);
            pieces.swap(m_pieces);
        }
        return pieces.join();
    }

private:
    mutable std::mutex m_mutex;
    QByteArrayList m_pieces;
    float m_peak = 0;
};

Recorder::Recorder(AudioInput& input, MainQueue& queue)
    : m_input(input), m_queue(queue), m_collected(std::make_unique<Collected>())
{
}

Recorder::~Recorder()
{
    if (m_isRecording) {
        m_input.stop();
    }
}

Result<void> Recorder::start()
{
    if (m_isRecording) {
        // A fresh recording replaces the running one.
        m_input.stop();
        m_isRecording = false;
    }
    const AudioFormat format = m_input.inputFormat();
    if (!(format.sampleRate > 0) || format.channelCount <= 0) {
        return failure(kNoInputCode, u"Geen microfoon beschikbaar (of geen toestemming)."_s);
    }
    std::shared_ptr<SpeechConverter> converter = SpeechConverter::create(format);
    if (!converter) {
        return failure(kNoConverterCode, u"Audioconversie niet mogelijk."_s);
    }
    m_collected->reset();
    m_converter = converter;
    // The input calls the handler no more once it has been stopped, which the destructor sees to.
    Result<void> started = m_input.start([this, converter, alive = m_lifetime.reference()](const AudioBlock& block) {
        append(block, *converter, alive);
    });
    if (!started) {
        m_converter.reset();
        return started;
    }
    m_isRecording = true;
    return {};
}

QByteArray Recorder::stop()
{
    if (m_isRecording) {
        m_input.stop();
        m_isRecording = false;
    }
    if (const auto converter = std::exchange(m_converter, nullptr)) {
        m_collected->append(converter->finish());
    }
    return m_collected->take();
}

float Recorder::peakLevel() const
{
    return m_collected->peak();
}

// On the capture thread.
void Recorder::append(const AudioBlock& block, SpeechConverter& converter, const std::weak_ptr<void>& alive)
{
    if (block.samples != nullptr && block.frameCount > 0) {
        const float level = blockLevel(block);
        m_collected->raisePeak(level);
        m_queue.post(alive, [this, level] {
            if (levelHandler) {
                levelHandler(level);
            }
        });
    }
    m_collected->append(converter.convert(block));
}

}  // namespace tavlo

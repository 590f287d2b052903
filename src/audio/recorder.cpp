#include "audio/recorder.h"

#include "audio/speech_converter.h"
#include "platform/text_literals.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavlo {

namespace {

constexpr double kQuietestRms = 0.00001;  // -100 dBFS, keeps the logarithm of silence finite
constexpr double kRangeDecibels = 50;

constexpr float kSpeechPeak = 0.18F;
constexpr float kNoSignalPeak = 0.01F;

constexpr double kBytesPerSecond = kSpeechSampleRate * 2;

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

Heard judgePeak(float peak)
{
    if (peak >= kSpeechPeak) {
        return Heard::Speech;
    }
    return peak < kNoSignalPeak ? Heard::NoSignal : Heard::NoSpeech;
}

double recordingSeconds(const QByteArray& wav)
{
    return static_cast<double>(std::max<qsizetype>(wav.size() - kWavHeaderSize, 0)) / kBytesPerSecond;
}

Recorder::Recorder(AudioInput& input, MainQueue& queue) : m_input(input), m_queue(queue) {}

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
    const Result<AudioFormat> format = m_input.inputFormat();
    if (!format) {
        return tl::unexpected<Error>(format.error());
    }
    if (!(format->sampleRate > 0) || format->channelCount <= 0) {
        return failure(kNoMicrophone, u"Geen microfoon beschikbaar (of geen toestemming)."_s);
    }
    std::shared_ptr<SpeechConverter> converter = SpeechConverter::create(*format);
    if (!converter) {
        return failure(kNoAudioConverter, u"Audioconversie niet mogelijk."_s);
    }
    m_peak = 0;
    m_converter = converter;
    // On the capture thread. The input calls no more once it has been stopped, which the destructor sees to.
    const Result<void> started =
        m_input.start([this, converter, alive = m_lifetime.reference()](const AudioBlock& block) {
            if (block.samples != nullptr && block.frameCount > 0) {
                const float level = blockLevel(block);
                m_peak = std::max<float>(m_peak, level);
                m_queue.post(alive, [this, level] {
                    if (levelHandler) {
                        levelHandler(level);
                    }
                });
            }
            converter->convert(block);
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
    const auto converter = std::exchange(m_converter, nullptr);
    return converter ? converter->finish() : QByteArray();
}

}  // namespace tavlo

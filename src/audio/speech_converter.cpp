#include "audio/speech_converter.h"

#include <soxr.h>

#include <QtEndian>

#include <cmath>
#include <limits>

namespace tavlo {

namespace {

constexpr std::uint32_t kHeadroomFrames = 64;
constexpr std::size_t kUsualBlockFrames = 4096;

QByteArray littleEndianBytes(std::vector<std::int16_t>& samples, std::size_t count)
{
    qToLittleEndian<std::int16_t>(samples.data(), static_cast<qsizetype>(count), samples.data());
    return QByteArray(reinterpret_cast<const char*>(samples.data()),
                      static_cast<qsizetype>(count * sizeof(std::int16_t)));
}

}  // namespace

std::uint32_t convertedCapacity(double inputSampleRate, std::size_t frameCount)
{
    const double frames = kSpeechSampleRate / inputSampleRate * static_cast<double>(frameCount);
    constexpr double kLargest = std::numeric_limits<std::uint32_t>::max() - kHeadroomFrames;
    if (!std::isfinite(frames) || frames < 0 || frames > kLargest) {
        qFatal("convertedCapacity: %zu frames at %f Hz cannot be converted", frameCount, inputSampleRate);
    }
    return static_cast<std::uint32_t>(frames) + kHeadroomFrames;
}

std::unique_ptr<SpeechConverter> SpeechConverter::create(const AudioFormat& inputFormat)
{
    if (!std::isfinite(inputFormat.sampleRate) || inputFormat.sampleRate <= 0 || inputFormat.channelCount < 1) {
        return nullptr;
    }
    soxr_error_t error = nullptr;
    soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_INT16_I);
    samples.flags = SOXR_NO_DITHER;  // silence stays silence
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t threads = soxr_runtime_spec(1);
    soxr* const resampler =
        soxr_create(inputFormat.sampleRate, kSpeechSampleRate, 1, &error, &samples, &quality, &threads);
    if (resampler == nullptr || error != nullptr) {
        soxr_delete(resampler);
        return nullptr;
    }
    return std::unique_ptr<SpeechConverter>(new SpeechConverter(inputFormat.sampleRate, resampler));
}

SpeechConverter::SpeechConverter(double inputSampleRate, soxr* resampler)
    : m_inputSampleRate(inputSampleRate), m_resampler(resampler)
{
    m_mono.reserve(kUsualBlockFrames);
    m_converted.reserve(convertedCapacity(inputSampleRate, kUsualBlockFrames));
}

SpeechConverter::~SpeechConverter() = default;

QByteArray SpeechConverter::convert(const AudioBlock& block)
{
    if (block.format.sampleRate != m_inputSampleRate || block.format.channelCount < 1 || block.samples == nullptr ||
        block.frameCount == 0) {
        return {};
    }
    mixToMono(block);
    m_converted.resize(convertedCapacity(block.format.sampleRate, block.frameCount));

    // The converter takes the whole block at once; what does not fit the output stays inside and comes with a later
    // block or at the end.
    std::size_t consumed = 0;
    std::size_t produced = 0;
    const soxr_error_t error = soxr_process(m_resampler.get(), m_mono.data(), m_mono.size(), &consumed,
                                            m_converted.data(), m_converted.size(), &produced);
    return error == nullptr ? littleEndianBytes(m_converted, produced) : QByteArray();
}

QByteArray SpeechConverter::finish()
{
    QByteArray rest;
    m_converted.resize(convertedCapacity(m_inputSampleRate, kUsualBlockFrames));
    while (true) {
        std::size_t produced = 0;
        const soxr_error_t error =
            soxr_process(m_resampler.get(), nullptr, 0, nullptr, m_converted.data(), m_converted.size(), &produced);
        if (error != nullptr || produced == 0) {
            return rest;
        }
        rest += littleEndianBytes(m_converted, produced);
    }
}

void SpeechConverter::mixToMono(const AudioBlock& block)
{
    const auto channels = static_cast<std::size_t>(block.format.channelCount);
    m_mono.resize(block.frameCount);
    const float* sample = block.samples;
    for (float& mixed : m_mono) {
        float sum = 0;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            sum += *sample++;
        }
        const float mean = sum / static_cast<float>(channels);
        // One sample that is no number would stay in the filter and silence the rest of the recording.
        mixed = std::isfinite(mean) ? mean : 0.0F;
    }
}

void SpeechConverter::Deleter::operator()(soxr* resampler) const
{
    soxr_delete(resampler);
}

}  // namespace tavlo

#include "audio/speech_converter.h"

#include <QtEndian>

#include <soxr.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace tavlo {

namespace {

constexpr quint16 kIntegerPcm = 1;
constexpr quint16 kChannelCount = 1;
constexpr quint16 kBytesPerFrame = sizeof(std::int16_t);
constexpr quint16 kBitsPerSample = 16;
constexpr quint32 kFormatChunkSize = 16;
constexpr quint32 kSizeBeforeData = 36;  // what the RIFF size counts besides the samples

template <class T>
void appendNumber(QByteArray& header, T value)
{
    const T littleEndian = qToLittleEndian(value);
    header.append(reinterpret_cast<const char*>(&littleEndian), sizeof littleEndian);
}

}  // namespace

void writeWavHeader(QByteArray& image, std::uint32_t sampleRate)
{
    constexpr auto kLargest = std::numeric_limits<std::uint32_t>::max();
    const qsizetype sampleBytes = image.size() - kWavHeaderSize;
    if (sampleBytes < 0) {
        qFatal("writeWavHeader: the image has no room for its header");
    }
    if (static_cast<std::uint64_t>(sampleBytes) + kSizeBeforeData > kLargest) {
        qFatal("writeWavHeader: %lld bytes of samples do not fit the size field of a WAV file",
               static_cast<long long>(sampleBytes));
    }
    if (sampleRate > kLargest / kBytesPerFrame) {
        qFatal("writeWavHeader: the sample rate %u does not fit the byte rate field of a WAV file", sampleRate);
    }
    const auto dataSize = static_cast<quint32>(sampleBytes);

    QByteArray header;
    header.reserve(kWavHeaderSize);
    header.append("RIFF", 4);
    appendNumber<quint32>(header, dataSize + kSizeBeforeData);
    header.append("WAVE", 4);
    header.append("fmt ", 4);
    appendNumber<quint32>(header, kFormatChunkSize);
    appendNumber<quint16>(header, kIntegerPcm);
    appendNumber<quint16>(header, kChannelCount);
    appendNumber<quint32>(header, sampleRate);
    appendNumber<quint32>(header, sampleRate * kBytesPerFrame);
    appendNumber<quint16>(header, kBytesPerFrame);
    appendNumber<quint16>(header, kBitsPerSample);
    header.append("data", 4);
    appendNumber<quint32>(header, dataSize);
    std::memcpy(image.data(), header.constData(), kWavHeaderSize);
}

namespace {

constexpr std::uint32_t kHeadroomFrames = 64;
constexpr std::size_t kUsualBlockFrames = 4096;
// An hour's samples: room that the system gives page by page, when it is written. A longer recording makes the memory
// grow, which the C library does for pieces of this size by moving pages, not their contents.
constexpr qsizetype kReservedBytes = qsizetype{3600} * 16000 * kBytesPerFrame;

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
    m_image.reserve(kWavHeaderSize + kReservedBytes);
    m_image.resize(kWavHeaderSize);
}

SpeechConverter::~SpeechConverter() = default;

void SpeechConverter::convert(const AudioBlock& block)
{
    if (block.format.sampleRate != m_inputSampleRate || block.format.channelCount < 1 || block.samples == nullptr ||
        block.frameCount == 0) {
        return;
    }
    mixToMono(block);
    // The resampler takes the whole block at once; what does not fit the room given stays inside and comes with a later
    // block or at the end.
    resample(m_mono.data(), m_mono.size());
}

QByteArray SpeechConverter::finish()
{
    while (resample(nullptr, 0) > 0) {
    }
    m_image.squeeze();
    writeWavHeader(m_image);
    return std::move(m_image);
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

// Appends what comes out for these samples, or without any for the end of the stream; returns how many frames came.
std::size_t SpeechConverter::resample(const float* samples, std::size_t sampleCount)
{
    const qsizetype before = m_image.size();
    const std::uint32_t capacity =
        convertedCapacity(m_inputSampleRate, samples != nullptr ? sampleCount : kUsualBlockFrames);
    m_image.resize(before + static_cast<qsizetype>(capacity) * kBytesPerFrame);
    auto* const room = reinterpret_cast<std::int16_t*>(m_image.data() + before);
    std::size_t produced = 0;
    const soxr_error_t error =
        soxr_process(m_resampler.get(), samples, sampleCount, nullptr, room, capacity, &produced);
    if (error != nullptr) {
        produced = 0;
    }
    qToLittleEndian<std::int16_t>(room, static_cast<qsizetype>(produced), room);
    m_image.resize(before + static_cast<qsizetype>(produced) * kBytesPerFrame);
    return produced;
}

void SpeechConverter::Deleter::operator()(soxr* resampler) const
{
    soxr_delete(resampler);
}

}  // namespace tavlo

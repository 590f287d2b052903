#include "audio/wav.h"

#include <QtEndian>

#include <cstring>
#include <limits>

namespace tavlo {

namespace {

constexpr quint16 kIntegerPcm = 1;
constexpr quint16 kChannelCount = 1;
constexpr quint16 kBytesPerFrame = 2;
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

}  // namespace tavlo

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
constexpr qsizetype kHeaderSize = 44;

template <class T>
void appendNumber(QByteArray& image, T value)
{
    const T littleEndian = qToLittleEndian(value);
    image.append(reinterpret_cast<const char*>(&littleEndian), sizeof littleEndian);
}

}  // namespace

QByteArray makeWav(QByteArray pcm, std::uint32_t sampleRate)
{
    constexpr auto kLargest = std::numeric_limits<std::uint32_t>::max();
    if (static_cast<std::uint64_t>(pcm.size()) + kSizeBeforeData > kLargest) {
        qFatal("makeWav: %lld bytes of samples do not fit the size field of a WAV file",
               static_cast<long long>(pcm.size()));
    }
    if (sampleRate > kLargest / kBytesPerFrame) {
        qFatal("makeWav: the sample rate %u does not fit the byte rate field of a WAV file", sampleRate);
    }
    const auto dataSize = static_cast<quint32>(pcm.size());

    QByteArray header;
    header.reserve(kHeaderSize);
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
    // In the samples' own memory: another piece of this size costs more than moving them.
    pcm.resize(pcm.size() + kHeaderSize);
    std::memmove(pcm.data() + kHeaderSize, pcm.constData(), dataSize);
    std::memcpy(pcm.data(), header.constData(), kHeaderSize);
    return pcm;
}

}  // namespace tavlo

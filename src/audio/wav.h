#pragma once

#include <QByteArray>

#include <cstdint>

namespace tavlo {

// The size of a WAV file's header in bytes; the samples follow it.
inline constexpr qsizetype kWavHeaderSize = 44;

// Writes the header into the first 44 bytes of `image`, which are room for it; little-endian signed 16-bit mono samples
// follow them and stay as they are. Stops the program when a size does not fit its 32-bit field. Any thread.
void writeWavHeader(QByteArray& image, std::uint32_t sampleRate = 16000);

}  // namespace tavlo

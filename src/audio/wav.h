#pragma once

#include <QByteArray>

#include <cstdint>

namespace tavlo {

// A complete WAV file image: 44 bytes of header, then `pcm` unchanged (little-endian signed 16-bit mono samples).
// Stops the program when a size does not fit its 32-bit field. Any thread.
QByteArray makeWav(QByteArray pcm, std::uint32_t sampleRate = 16000);

}  // namespace tavlo

#pragma once

#include "platform/audio_input.h"

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <vector>

struct soxr;

namespace tavlo {

// The size of a WAV file's header in bytes; the samples follow it.
inline constexpr qsizetype kWavHeaderSize = 44;

// Writes the header into the first 44 bytes of `image`, which are room for it; little-endian signed 16-bit mono samples
// follow them and stay as they are. Stops the program when a size does not fit its 32-bit field. Any thread.
void writeWavHeader(QByteArray& image, std::uint32_t sampleRate = 16000);

// The rate of a recording's samples, in frames a second.
constexpr double kSpeechSampleRate = 16000;

// How many frames the conversion of one block may yield: the block's share at 16,000 Hz, without the fraction, and 64
// frames of headroom. Stops the program where that is no unsigned 32-bit number.
std::uint32_t convertedCapacity(double inputSampleRate, std::size_t frameCount);

// Turns the captured float blocks of one recording into a WAV image: little-endian signed 16-bit mono samples at
// 16,000 Hz. The blocks form one stream: the resampling filter keeps its state from block to block. One thread at a
// time.
class SpeechConverter {
public:
    // None where this format cannot be converted.
    static std::unique_ptr<SpeechConverter> create(const AudioFormat& inputFormat);
    ~SpeechConverter();
    SpeechConverter(const SpeechConverter&) = delete;
    SpeechConverter& operator=(const SpeechConverter&) = delete;

    // Appends the samples that this block completes, several channels mixed into one. A block with another sample rate
    // than the converter's is dropped, and one that the resampler refuses. Allocates nothing for blocks of 4096 frames
    // during the first hour.
    void convert(const AudioBlock& block);
    // The whole recording, with what the filter still held back. To be called once, after the last block.
    QByteArray finish();

private:
    struct Deleter {
        void operator()(soxr* resampler) const;
    };

    SpeechConverter(double inputSampleRate, soxr* resampler);
    void mixToMono(const AudioBlock& block);
    std::size_t resample(const float* samples, std::size_t sampleCount);

    double m_inputSampleRate;
    std::unique_ptr<soxr, Deleter> m_resampler;
    std::vector<float> m_mono;  // kept from block to block, so that the capture thread does not allocate it each time
    QByteArray m_image;         // the header's room and the samples so far
};

}  // namespace tavlo

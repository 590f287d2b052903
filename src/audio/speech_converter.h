#pragma once

#include "platform/audio_input.h"

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <vector>

struct soxr;

namespace tavlo {

// The rate of a recording's samples, in frames a second.
constexpr double kSpeechSampleRate = 16000;

// How many frames the conversion of one block may yield: the block's share at 16,000 Hz, without the fraction, and 64
// frames of headroom. Stops the program where that is no unsigned 32-bit number.
std::uint32_t convertedCapacity(double inputSampleRate, std::size_t frameCount);

// Turns captured float blocks into little-endian signed 16-bit mono samples at 16,000 Hz. The blocks of one recording
// form one stream: the resampling filter keeps its state from block to block. One thread at a time.
class SpeechConverter {
public:
    // None where this format cannot be converted.
    static std::unique_ptr<SpeechConverter> create(const AudioFormat& inputFormat);
    ~SpeechConverter();
    SpeechConverter(const SpeechConverter&) = delete;
    SpeechConverter& operator=(const SpeechConverter&) = delete;

    // The samples that this block completes, several channels mixed into one. Empty when there are none yet, when the
    // block has another sample rate than the converter, or on an error.
    QByteArray convert(const AudioBlock& block);
    // What the filter still holds back at the end of the stream. To be called once, after the last block.
    QByteArray finish();

private:
    struct Deleter {
        void operator()(soxr* resampler) const;
    };

    SpeechConverter(double inputSampleRate, soxr* resampler);
    void mixToMono(const AudioBlock& block);

    double m_inputSampleRate;
    std::unique_ptr<soxr, Deleter> m_resampler;
    // Kept from block to block, so that the capture thread does not allocate them each time.
    std::vector<float> m_mono;
    std::vector<std::int16_t> m_converted;
};

}  // namespace tavlo

#pragma once

#include "platform/audio_input.h"
#include "platform/queues.h"

#include <QByteArray>

#include <atomic>
#include <functional>
#include <memory>

namespace tavlo {

// How loud a block is, 0...1: its root mean square in decibels, -50 dBFS and below giving 0, 0 dBFS giving 1. Of the
// first channel only, so that a second, dead channel does not halve it. 0 for a block without frames. Any thread.
float blockLevel(const AudioBlock& block);

// What a recording holds, by its highest block level: speech from 0.18 (-41 dBFS) on; below 0.01 not even a
// microphone's own noise came. Any thread.
enum class Heard { NoSignal, NoSpeech, Speech };
Heard judgePeak(float peak);

// How long a recording lasts that `Recorder::stop` handed over, in seconds. Any thread.
double recordingSeconds(const QByteArray& wav);

class SpeechConverter;

// Records the default microphone and hands over the whole recording at its end. Main thread, except where said
// otherwise.
class Recorder {
public:
    Recorder(AudioInput& input, MainQueue& queue);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Begins a recording. Fails with domain "Tavlo" and code 1 where there is no usable input, code 2 where its
    // format cannot be converted, and with the input's own error where the stream does not start.
    [[nodiscard]] Result<void> start();
    // Ends the recording and hands it over as a WAV image: 44 bytes of header, then little-endian signed 16-bit mono
    // samples at 16,000 Hz. Empty when none was running.
    QByteArray stop();
    // The highest block level, 0...1, since the last start that found a usable input. Any thread.
    float peakLevel() const { return m_peak; }
    bool isRecording() const { return m_isRecording; }

    // Gets each block's level, 0...1 for -50 dBFS to 0 dBFS of its root mean square, on the main thread.
    std::function<void(float)> levelHandler;

private:
    AudioInput& m_input;
    MainQueue& m_queue;
    std::atomic<float> m_peak = 0;
    // Of the running recording. The capture thread's until the input has been stopped, the main thread's from then on.
    std::shared_ptr<SpeechConverter> m_converter;
    bool m_isRecording = false;
    Lifetime m_lifetime;
};

}  // namespace tavlo

#pragma once

#include "platform/audio_input.h"
#include "platform/queues.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace tavlo {

// How loud a block is, 0...1: its root mean square in decibels, -50 dBFS and below giving 0, 0 dBFS giving 1. Of the
// first channel only, so that a second, dead channel does not halve it. 0 for a block without frames. Any thread.
float blockLevel(const AudioBlock& block);

class SpeechConverter;

// Records the default microphone and hands over the whole recording at its end, as PCM samples: little-endian signed
// 16-bit mono at 16,000 Hz without a header. Main thread, except where said otherwise.
class Recorder {
public:
    Recorder(AudioInput& input, MainQueue& queue);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Begins a recording. Fails with domain "Tavlo" and code 1 where there is no usable input, code 2 where its
    // format cannot be converted, and with the input's own error where the stream does not start.
    Result<void> start();
    // Ends the recording and hands over its samples; empty when none was running.
    QByteArray stop();
    // The highest block level, 0...1, since the last start that found a usable input. Any thread.
    float peakLevel() const;
    bool isRecording() const { return m_isRecording; }

    // Gets each block's level, 0...1 for -50 dBFS to 0 dBFS of its root mean square, on the main thread.
    std::function<void(float)> levelHandler;

private:
    class Collected;  // what the capture thread and the main thread share, under a lock of its own

    void append(const AudioBlock& block, SpeechConverter& converter, const std::weak_ptr<void>& alive);

    AudioInput& m_input;
    MainQueue& m_queue;
    std::unique_ptr<Collected> m_collected;
    std::shared_ptr<SpeechConverter> m_converter;  // of the running recording
    bool m_isRecording = false;
    Lifetime m_lifetime;
};

}  // namespace tavlo

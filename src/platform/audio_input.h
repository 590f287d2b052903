#pragma once

#include "platform/registration.h"
#include "platform/result.h"

#include <cstddef>
#include <functional>

namespace tavlo {

struct AudioFormat {
    double sampleRate = 0;  // frames a second; 0 where there is no usable input
    int channelCount = 0;

    bool operator==(const AudioFormat&) const = default;
};

// Captured frames: `frameCount` times `format.channelCount` interleaved samples, nominally -1...1. Valid only during
// the call that passes it.
struct AudioBlock {
    AudioFormat format;
    const float* samples = nullptr;
    std::size_t frameCount = 0;
};

// The default microphone. A monitor of an output is not a microphone.
class AudioInput {
public:
    using BlockHandler = std::function<void(const AudioBlock&)>;

    virtual ~AudioInput() = default;

    // The format in which the default microphone delivers; sampleRate 0 and channelCount 0 when there is none, or no
    // server. Fails with a description when a server is there and does not answer, so that nobody knows. Main thread;
    // answered from what is known, except that it may wait for the server, 300 ms at most, right after launch and
    // while no microphone is known.
    virtual Result<AudioFormat> inputFormat() = 0;

    // Opens a stream on the default microphone. Returns when it runs and its first frames have come, after 300 ms at
    // most; a device that wakes later still delivers. `handler` gets blocks of 4096 frames on the capture thread,
    // beginning with the first captured frame. Fails with a description when there is no microphone or no answer.
    // Main thread.
    virtual Result<void> start(BlockHandler handler) = 0;

    // Ends the stream. What was captured before this call has been delivered, the last block possibly shorter, when
    // it returns, and the handler is not called again. Does nothing when no stream runs. Main thread; blocks for
    // 300 ms at most.
    virtual void stop() = 0;

    // `changed` runs on the main thread when the default microphone changed, or the one in use was removed, moved or
    // its stream failed. Main thread.
    virtual Registration onConfigurationChange(std::function<void()> changed) = 0;
};

}  // namespace tavlo

#pragma once

#include "linux/pulse/pulse_connection.h"
#include "platform/audio_input.h"
#include "platform/queues.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <pulse/stream.h>

namespace tavlo {

// One open microphone: a record stream whose fragments of about ten milliseconds are grouped into blocks of 4096
// frames. Everything with the connection held; `handler` and `broken` are called that way on the connection's thread.
class PulseRecordStream {
public:
    // `broken` is called once at most, when the stream failed or the server moved it to another source.
    PulseRecordStream(PulseConnection& connection, const PulseMicrophone& microphone, AudioInput::BlockHandler handler,
                      std::function<void()> broken);
    ~PulseRecordStream();
    PulseRecordStream(const PulseRecordStream&) = delete;
    PulseRecordStream& operator=(const PulseRecordStream&) = delete;

    // Connects; returns when the first frames have come, or at the deadline, when the stream runs at least. A
    // PulseAudio error code otherwise.
    int open(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline);

    // Waits for what was captured up to now and hands over all of it, the last block from the calling thread. The
    // stream gives nothing after this.
    void finish(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline);

    const std::string& sourceName() const { return m_microphone.name; }
    bool isBroken() const { return m_isBroken; }

private:
    void stateChanged();
    void readAvailable();
    void append(const float* samples, std::size_t sampleCount);
    void deliverBlock();
    void breakDown();
    bool isAlive() const;
    std::size_t frameSize() const;

    PulseConnection& m_connection;
    PulseMicrophone m_microphone;
    AudioInput::BlockHandler m_handler;
    std::function<void()> m_broken;
    pa_stream* m_stream = nullptr;
    std::vector<float> m_block;    // its capacity is one block's and never grows
    std::size_t m_blockSamples;    // a full block's
    std::uint64_t m_received = 0;  // frames
    bool m_isBroken = false;
    bool m_hasTiming = false;
};

// The sound server's default source, unless that is a monitor of a sink. Blocks come on the connection's thread, the
// last, possibly shorter one on the thread that stops.
class PulseAudioInput : public AudioInput {
public:
    // Both outlive it.
    PulseAudioInput(PulseConnection& connection, MainQueue& queue);
    ~PulseAudioInput() override;

    Result<AudioFormat> inputFormat() override;
    Result<void> start(BlockHandler handler) override;
    void stop() override;
    Registration onConfigurationChange(std::function<void()> changed) override
    {
        return m_changed.add(std::move(changed));
    }

private:
    bool lookAgain(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline);
    void devicesChanged();
    void postNotice();
    void deliverNotice();
    std::optional<std::string> microphoneName() const;

    PulseConnection& m_connection;
    MainQueue& m_queue;
    std::unique_ptr<PulseRecordStream> m_stream;
    // The microphone that `inputFormat` last gave the format of: the next stream opens this one.
    std::optional<PulseMicrophone> m_toldMicrophone;
    std::optional<std::string> m_noticedName;
    bool m_hasLearned = false;
    bool m_hasWaited = false;  // for the connection's first attempt
    bool m_isNoticePosted = false;
    HandlerList<> m_changed;
    Registration m_connectionChanges;  // ended with the connection held
    Lifetime m_lifetime;
};

}  // namespace tavlo

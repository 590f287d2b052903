#pragma once

#include "platform/audio_input.h"
#include "platform/linux/pulse/pulse_connection.h"
#include "platform/main_queue.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tavlo {

class PulseRecordStream;

// The sound server's default source, unless that is a monitor of a sink. Blocks come on the connection's thread, the
// last, possibly shorter one on the thread that stops.
class PulseAudioInput : public AudioInput {
public:
    // Both outlive it.
    PulseAudioInput(PulseConnection& connection, MainQueue& queue);
    ~PulseAudioInput() override;

    AudioFormat inputFormat() override;
    Result<void> start(BlockHandler handler) override;
    void stop() override;
    [[nodiscard]] Registration onConfigurationChange(std::function<void()> changed) override;

private:
    using Handlers = std::map<int, std::function<void()>>;

    void lookAgain(std::unique_lock<PulseConnection>& held, PulseConnection::Clock::time_point deadline);
    void devicesChanged();
    void postNotice();
    void deliverNotice();
    std::optional<std::string> microphoneName() const;

    PulseConnection& m_connection;
    MainQueue& m_queue;
    PulseConnection::Observer m_observer;
    std::unique_ptr<PulseRecordStream> m_stream;
    // What the next stream delivers: the format that `inputFormat` told last.
    std::optional<PulseMicrophone> m_toldMicrophone;
    std::optional<std::string> m_noticedName;
    bool m_hasLearned = false;
    bool m_hasWaited = false;  // for the connection's first attempt
    bool m_isNoticePosted = false;
    int m_nextHandler = 0;
    std::shared_ptr<Handlers> m_handlers = std::make_shared<Handlers>();
    Lifetime m_lifetime;
};

}  // namespace tavlo

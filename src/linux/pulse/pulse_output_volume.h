#pragma once

#include "linux/pulse/pulse_connection.h"
#include "platform/output_volume.h"
#include "platform/queues.h"

#include <functional>

namespace tavlo {

// The volume of the sound server's outputs, named as the server names its sinks. What is set is 1/65536 exact.
class PulseOutputVolume : public OutputVolume {
public:
    // Both outlive it.
    PulseOutputVolume(PulseConnection& connection, MainQueue& queue);
    ~PulseOutputVolume() override;
    PulseOutputVolume(const PulseOutputVolume&) = delete;
    PulseOutputVolume& operator=(const PulseOutputVolume&) = delete;

    std::optional<OutputDevice> defaultDevice() override;
    bool hasVolume(const OutputDevice& device) override;
    std::optional<float> volume(const OutputDevice& device) override;
    bool setVolume(const OutputDevice& device, float scalar) override;
    void flush() override;
    // The connection is listened to only while there is a handler.
    Registration onChange(std::function<void()> changed) override;

private:
    void devicesChanged();
    void deliverChange();

    PulseConnection& m_connection;
    MainQueue& m_queue;
    bool m_isChangePosted = false;  // under the connection's lock
    HandlerList<> m_changed;
    std::optional<Registration> m_listening;  // ended with the connection held
    Lifetime m_lifetime;
};

}  // namespace tavlo

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
    // One handler at a time; the connection is listened to only while there is one.
    [[nodiscard]] Registration onChange(std::function<void()> changed) override;

private:
    void devicesChanged();
    void deliverChange();
    void stopListening();

    PulseConnection& m_connection;
    MainQueue& m_queue;
    PulseConnection::Observer m_observer;
    bool m_isChangePosted = false;  // under the connection's lock
    std::function<void()> m_changed;
    Lifetime m_lifetime;
};

}  // namespace tavlo

#pragma once

#include "platform/registration.h"

#include <QString>

#include <functional>
#include <optional>

namespace tavlo {

// Names an output device for as long as it exists, also across a restart of the sound server.
using OutputDevice = QString;

// The volume of output devices on the scale of the desktop's slider: 0.0 silent, 1.0 the device's normal full volume.
// All operations: main thread; answered from what is known of the server, never waiting on it.
class OutputVolume {
public:
    virtual ~OutputVolume() = default;

    // None when there is no output or no server.
    virtual std::optional<OutputDevice> defaultDevice() = 0;
    // False for an unknown device and for one without a volume.
    virtual bool hasVolume(const OutputDevice& device) = 0;
    // None when the device is not there. After a `setVolume` it is the value set, until another program changes it.
    virtual std::optional<float> volume(const OutputDevice& device) = 0;
    // Keeps the balance between the channels. False when the device is not there; a failure on the server's side is
    // not reported. Returns at once.
    virtual bool setVolume(const OutputDevice& device, float scalar) = 0;
    // Hands everything set so far to the server before it returns, within 500 ms; for use at the end of the process.
    virtual void flush() = 0;
    // `changed` runs on the main thread when outputs have come, gone or changed, the server's first answer included.
    virtual Registration onChange(std::function<void()> changed) = 0;
};

}  // namespace tavlo

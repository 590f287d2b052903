#pragma once

#include "platform/audio_input.h"
#include "platform/output_volume.h"
#include "support/fakes/manual_main_queue.h"

#include <chrono>
#include <memory>
#include <ostream>
#include <vector>

namespace tavlo {

// A desktop's sound, for the suites that run on the fakes and on real servers alike: the outputs "speakers" (the
// default one, left and right) and "voice", the microphones "microphone" (the default one) and "headset", which hear
// the known signal from the time of `speak` on.
class AudioRig {
public:
    virtual ~AudioRig() = default;

    virtual bool isUp() const = 0;
    virtual AudioInput& input() = 0;
    virtual OutputVolume& volume() = 0;

    virtual void speak() = 0;
    // Whether another program that listens to "microphone" since then heard the second sample right after the first.
    virtual bool heardByOthers(float before, float after) = 0;
    // Whether the sound server itself lost audio between these instants, as it says.
    virtual bool serverMissedAudio(std::chrono::steady_clock::time_point from,
                                   std::chrono::steady_clock::time_point to) = 0;
    // Lets time pass until `isDone`; false when it never became so.
    virtual bool waitUntil(const std::function<bool()>& isDone) = 0;
    virtual void pass(std::chrono::milliseconds duration) = 0;

    virtual void chooseMicrophone(const QString& name) = 0;
    virtual void unplug(const QString& microphone) = 0;
    // As another program sets them, and as it sees them: 0...1 for left and right.
    virtual void setChannels(float left, float right) = 0;
    virtual std::vector<float> channels() = 0;
    // Open microphones of this program.
    virtual int openStreamCount() = 0;
};

enum class RigKind { Fake, PulseAudio, PipeWire };

inline void PrintTo(RigKind kind, std::ostream* out)
{
    *out << (kind == RigKind::Fake ? "Fake" : kind == RigKind::PulseAudio ? "PulseAudio" : "PipeWire");
}

std::unique_ptr<AudioRig> makeFakeRig();
std::unique_ptr<AudioRig> makeServerRig(RigKind kind);
inline std::unique_ptr<AudioRig> makeRig(RigKind kind)
{
    return kind == RigKind::Fake ? makeFakeRig() : makeServerRig(kind);
}

}  // namespace tavlo

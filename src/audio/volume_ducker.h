#pragma once

#include "audio/duck_journal.h"
#include "platform/output_volume.h"
#include "platform/queues.h"

#include <optional>

namespace tavlo {

// Lowers the default output while the user dictates, and brings it back. Volumes are scalars 0...1. Main thread.
class VolumeDucker {
public:
    // `journal`, if there is one, outlives the ducker. An entry is open from before the first step down until the
    // fade back has ended; it stays open where the device could not be brought back because it is gone.
    VolumeDucker(OutputVolume& output, MainQueue& queue, DuckJournal* journal = nullptr);

    // Fades the default output down to `target`, if that lowers it. Does nothing while ducked. While a device still
    // fades up, its volume counts as the one that the fade is going to, so that it never drifts down.
    void duckTo(float target);
    // Fades the ducked device back to its volume before.
    void restore();
    // Stops any fade and, while ducked, puts the volume back at once, for the end of the process. A fade back is only
    // stopped where it stands; the journal's entry then stays, with that volume in it.
    void restoreImmediately();

private:
    enum class Direction { Down, Back };

    struct Fade {
        DuckedOutput ducked;
        Direction direction = Direction::Down;
        MainQueue::TimePoint beginning;
    };

    void fade(Direction direction, const DuckedOutput& ducked);
    void stopFade();
    void finishFadeBackOfOtherThan(const OutputDevice& device);
    void scheduleStep(int n);
    void step(int n);
    void bringBack(const OutputDevice& device, float original);

    OutputVolume& m_output;
    MainQueue& m_queue;
    DuckJournal* m_journal;
    std::optional<float> m_savedVolume;
    std::optional<OutputDevice> m_savedDevice;
    std::optional<Fade> m_fade;  // the one that runs
    Lifetime m_fadeTimer;
};

}  // namespace tavlo

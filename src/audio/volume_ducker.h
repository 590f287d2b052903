#pragma once

#include "platform/output_volume.h"
#include "platform/queues.h"

#include <QString>

#include <optional>

namespace tavlo {

// An output that moves, in kFadeSteps equal steps, from one volume to another, and is to stand at `original` in the
// end. Volumes are scalars 0...1.
struct DuckedOutput {
    OutputDevice device;
    float original = 0;
    float from = 0;
    float to = 0;

    bool operator==(const DuckedOutput&) const = default;
};

// How many steps a fade has, and the volume after `n` of them (0 to kFadeSteps).
inline constexpr int kFadeSteps = 15;
float fadeStep(float from, float to, int n);

// Is told while an output stands at a volume that the user did not choose, so that a process that dies meanwhile can
// be cleaned up after. Main thread.
class DuckJournal {
public:
    virtual ~DuckJournal() = default;

    // A fade is about to begin. Replaces what was told before.
    virtual void began(const DuckedOutput& ducked) = 0;
    // The device has its original volume again.
    virtual void ended() = 0;
};

// The ducker's journal as a small file, so that the volume is put back even when the process could not do it itself.
// A failed write is dropped: it costs the repair, not the dictation. Main thread.
class DuckJournalFile : public DuckJournal {
public:
    explicit DuckJournalFile(QString path);

    void began(const DuckedOutput& ducked) override;
    void ended() override;
    // What an earlier process left; none when there is nothing, or nothing readable.
    std::optional<DuckedOutput> left() const;

private:
    QString m_path;
};

// Whether an output that stands at `current` was left there by the fade of `ducked`, rather than set by the user.
bool standsWhereTheFadeLeftIt(const DuckedOutput& ducked, float current);

// Puts back what an earlier process left lowered, as soon as that output is known, and forgets it; a volume that the
// user has changed since stays. Main thread.
class DuckRepair {
public:
    // Both outlive it. Takes note of what is left here, before a new duck replaces it; does nothing else yet.
    DuckRepair(DuckJournalFile& journal, OutputVolume& output);

    // Repairs now, or when the output appears.
    void start();

private:
    void tryRepair();

    DuckJournalFile& m_journal;
    OutputVolume& m_output;
    std::optional<DuckedOutput> m_left;
    Registration m_outputs;
};

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

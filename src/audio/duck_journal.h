#pragma once

#include "platform/output_volume.h"

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

}  // namespace tavlo

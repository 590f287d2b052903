#pragma once

#include "platform/audio_input.h"

namespace tavlo {

// How loud a block is, 0...1: its root mean square in decibels, -50 dBFS and below giving 0, 0 dBFS giving 1. Of the
// first channel only, so that a second, dead channel does not halve it. 0 for a block without frames. Any thread.
float blockLevel(const AudioBlock& block);

}  // namespace tavlo

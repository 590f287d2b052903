#pragma once

#include <functional>

namespace tavlo {

// A pool of threads for work that blocks, such as a local transcription.
class BackgroundQueue {
public:
    virtual ~BackgroundQueue() = default;

    // Runs `task` on a thread that is not the main thread. Tasks may run at the same time and in any order. Callable
    // from any thread; never blocks.
    virtual void run(std::function<void()> task) = 0;
};

}  // namespace tavlo

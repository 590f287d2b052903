#pragma once

#include <thread>
#include <utility>

namespace tavlo {

// Runs `task` on a thread of its own and returns when it has ended: for fakes whose port calls back on a thread that is
// not the main one.
template <class Task>
void runOnAnotherThread(Task&& task)
{
    std::thread(std::forward<Task>(task)).join();
}

}  // namespace tavlo

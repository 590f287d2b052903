#pragma once

#include <functional>

namespace tavlo {

// A last call when a library ends the process by exit(), without a way back to main: the toolkit does so when the X
// server is gone. One object at a time; main thread.
class ProcessExit {
public:
    // `leaving` runs within exit(), on the thread that called it, while everything that main() made still stands.
    explicit ProcessExit(std::function<void()> leaving);
    // From here on an exit is an ordinary one.
    ~ProcessExit();
    ProcessExit(const ProcessExit&) = delete;
    ProcessExit& operator=(const ProcessExit&) = delete;
};

}  // namespace tavlo

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

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

// SIGTERM, SIGINT and SIGHUP as an ordinary call on the main thread. A signal that comes a second time ends the
// process in the usual way, so that a program which hangs at its end can be ended. One object at a time; main thread.
class TerminationSignals {
public:
    // `terminate` runs from the event loop. SIGHUP stays ignored where it was (a program started with nohup).
    explicit TerminationSignals(std::function<void()> terminate);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace tavlo

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace tavlo {

// Runs a function when a library ends the process by exit(), so that main never returns: the toolkit does so when the X
// server is gone. One object at a time; main thread.
class ProcessExit {
public:
    // `leaving` runs within exit(), while everything that main() made still exists; not when another thread called
    // exit().
    explicit ProcessExit(std::function<void()> leaving);
    // `leaving` is not called any more.
    ~ProcessExit();
    ProcessExit(const ProcessExit&) = delete;
    ProcessExit& operator=(const ProcessExit&) = delete;
};

// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread. The same signal a second time ends the process at
// once, so that a program which hangs while it ends can be stopped. One object at a time; main thread.
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

// Ends the process without destroying what is static: a thread that still runs, the bus library's or a network thread
// that a dead disk holds up, must not find it gone. Functions registered for exit() are not run.
[[noreturn]] void endProcess(int status);

}  // namespace tavlo

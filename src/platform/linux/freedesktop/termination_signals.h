#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace tavlo {

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

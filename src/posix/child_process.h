#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

#include <sys/types.h>

namespace tavlo {

// The children that run now, so that they can be asked to end before the process does. Any thread.
class RunningChildren {
public:
    // Asks every child to end, by SIGTERM, those which are added later at once. Returns without waiting.
    void terminate();

    void add(pid_t process);
    // Before the child is reaped: until then its number belongs to nobody else.
    void remove(pid_t process);

private:
    std::mutex m_mutex;
    std::vector<pid_t> m_processes;
    bool m_isEnding = false;
};

struct ChildResult {
    int status = 0;  // what the child exited with; for one that a signal ended, the signal's number
    QByteArray output;
};

// Runs a program to its end and returns what it wrote to its standard output; what it writes to standard error is
// read and thrown away. Environment, working directory and standard input are inherited. Output is read until nobody
// holds its writing end any more, which a child of the child may do for longer.
//
// A child that still runs after `limit` is asked to end, once, by SIGTERM; `beforeTermination` is called first. It is
// never killed: one that ignores the request is waited for.
//
// `running` knows the child while it runs; it outlives the call.
//
// Fails with the platform's error when the program cannot be started. Blocks; any thread.
Result<ChildResult> runChild(const QString& program, const QList<QByteArray>& arguments,
                             std::chrono::milliseconds limit, const std::function<void()>& beforeTermination,
                             RunningChildren& running);

}  // namespace tavlo

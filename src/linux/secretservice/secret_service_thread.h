#pragma once

#include "linux/secretservice/secret_service_client.h"

#include <chrono>
#include <functional>
#include <memory>

namespace tavlo {

// The thread on which a SecretServiceClient lives. It sleeps, without waking up, while there is nothing to do.
class SecretServiceThread {
public:
    using Task = std::function<void(SecretServiceClient&)>;

    // `changed` is called on the thread when the store may answer otherwise than before; never after this object is
    // gone.
    explicit SecretServiceThread(std::function<void()> changed);
    // Breaks off what is under way. Waits for the thread, but not longer than a second.
    ~SecretServiceThread();
    SecretServiceThread(const SecretServiceThread&) = delete;
    SecretServiceThread& operator=(const SecretServiceThread&) = delete;

    // Runs `task` on the thread, after those before it, without waiting.
    void post(Task task);
    // What happens when a task is done for which nobody waits any more.
    enum class WhenLate { Tell, KeepQuiet };

    // Runs `task` on the thread and waits until it is done, until `limit` has passed, or not at all when an earlier
    // task for which somebody waited is still under way. Returns whether it is done; if not, the task runs on or
    // runs later.
    bool runWithin(std::chrono::milliseconds limit, Task task, WhenLate whenLate = WhenLate::Tell);
    // Whether a task for which somebody waited is still under way.
    bool isOccupied() const;

private:
    struct Core;

    std::shared_ptr<Core> m_core;  // Shared with the thread, which may outlast this object when the system hangs.
};

}  // namespace tavlo

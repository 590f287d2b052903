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

    // `changed` is called on the thread when the store may give another answer than before; never after this object is
    // gone.
    explicit SecretServiceThread(std::function<void()> changed);
    // Cancels what is under way and waits for the thread, for a second at most.
    ~SecretServiceThread();
    SecretServiceThread(const SecretServiceThread&) = delete;
    SecretServiceThread& operator=(const SecretServiceThread&) = delete;

    // Runs `task` on the thread, after those before it, without waiting.
    void post(Task task);
    // Whether `changed` is called when a task is done that its caller no longer waits for.
    enum class WhenLate { Tell, KeepQuiet };

    // Runs `task` on the thread and waits for it, `limit` at most, and not at all while an earlier task that timed out
    // is still under way. Returns whether the task is done; if not, it goes on, or runs later.
    bool runWithin(std::chrono::milliseconds limit, Task task, WhenLate whenLate = WhenLate::Tell);
    // Whether a task that was, or is, waited for is still under way.
    bool isOccupied() const;

private:
    struct Core;

    std::shared_ptr<Core> m_core;  // Shared with the thread, which may outlive this object when the service hangs.
};

}  // namespace tavlo

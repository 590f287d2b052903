#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace tavlo {

// The life of an object that has tasks on the main queue. A task posted with `reference()` is dropped, unrun, once
// the Lifetime is gone or `renew()` was called; so a Lifetime of its own also serves as the handle of a timer that
// can be cancelled. Main thread only, except that a reference may be copied and posted from any thread.
class Lifetime {
public:
    Lifetime() : m_token(std::make_shared<char>()) {}
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    std::weak_ptr<void> reference() const { return m_token; }
    // Drops everything that was posted with earlier references.
    void renew() { m_token = std::make_shared<char>(); }

private:
    std::shared_ptr<void> m_token;
};

// The main thread's task queue and the program's only clock for delays.
class MainQueue {
public:
    using Duration = std::chrono::milliseconds;
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~MainQueue() = default;

    // Runs `task` on the main thread after the current event has been handled, never within this call, in the order
    // of posting; not at all when `owner` has expired by then. Callable from any thread; never blocks.
    virtual void post(std::weak_ptr<void> owner, std::function<void()> task) = 0;

    // The same, not before `delay` has passed. Callable from the main thread only.
    virtual void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) = 0;

    // Monotonic time, by which delays are measured. Any thread.
    virtual TimePoint now() const = 0;
};

// A pool of threads for work that blocks, such as a local transcription.
class BackgroundQueue {
public:
    virtual ~BackgroundQueue() = default;

    // Runs `task` on a thread that is not the main thread. Tasks may run at the same time and in any order. Callable
    // from any thread; never blocks.
    virtual void run(std::function<void()> task) = 0;
};

}  // namespace tavlo

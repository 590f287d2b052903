#pragma once

#include "platform/queues.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace tavlo {

// A main queue that runs its tasks when a test lets it. Time stands still until the test moves it by hand (`advance`,
// `stall`) or waits for other threads and programs (`runUntil`, `runFor`), while which it goes on as real time does.
class ManualMainQueue : public MainQueue {
public:
    void post(std::weak_ptr<void> owner, std::function<void()> task) override;
    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override;
    TimePoint now() const override;

    // Runs everything that is due, and what that posts in turn, without moving time.
    void runPending() { advance(Duration::zero()); }
    // Moves time forward in the order in which tasks fall due, and runs them.
    void advance(Duration duration);
    // Lets time pass without running anything, as when one event keeps the main thread busy.
    void stall(Duration duration);

    // Runs tasks until `isDone`, which is asked again every few milliseconds. False when that does not come within
    // `limit` of real time.
    bool runUntil(const std::function<bool()>& isDone, Duration limit = std::chrono::seconds(30));
    // Runs what falls due within `duration` of real time.
    void runFor(Duration duration);

    // Tasks that wait and whose owner still lives.
    std::size_t waitingCount() const;
    // The time until the next of these falls due, negative when it is overdue; none when no task waits.
    std::optional<Duration> untilNext() const;

private:
    struct Entry {
        TimePoint due;
        std::uint64_t order = 0;
        std::weak_ptr<void> owner;
        std::function<void()> task;
    };

    class RealTime;

    static void run(const Entry& entry);
    static bool isEarlier(const Entry& one, const Entry& other);
    // The following three: with the lock held.
    TimePoint currentTime() const;
    std::vector<Entry>::iterator first();
    // Takes the first task that is due by `end`; none when there is no such task.
    std::optional<Entry> takeDue(TimePoint end);
    // The same for now, waiting for a task until this instant of real time at most.
    std::optional<Entry> waitForDue(std::chrono::steady_clock::time_point end);

    mutable std::mutex m_mutex;
    std::condition_variable m_posted;
    TimePoint m_now{};
    std::optional<std::chrono::steady_clock::time_point> m_realBegin;  // set while time goes on as real time does
    std::uint64_t m_nextOrder = 0;
    std::vector<Entry> m_entries;
};

}  // namespace tavlo

#include "support/fakes/manual_main_queue.h"

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

using RealClock = std::chrono::steady_clock;

constexpr MainQueue::Duration kAskInterval{5};

}  // namespace

// While it lives, the queue's time goes on as real time does.
class ManualMainQueue::RealTime {
public:
    explicit RealTime(ManualMainQueue& queue) : m_queue(queue)
    {
        const std::lock_guard guard(m_queue.m_mutex);
        m_isOutermost = !m_queue.m_realBegin;
        if (m_isOutermost) {
            m_queue.m_realBegin = RealClock::now();
        }
    }
    RealTime(const RealTime&) = delete;
    RealTime& operator=(const RealTime&) = delete;
    ~RealTime()
    {
        const std::lock_guard guard(m_queue.m_mutex);
        if (m_isOutermost) {
            m_queue.m_now = m_queue.currentTime();
            m_queue.m_realBegin.reset();
        }
    }

private:
    ManualMainQueue& m_queue;
    bool m_isOutermost = false;
};

void ManualMainQueue::post(std::weak_ptr<void> owner, std::function<void()> task)
{
    const std::lock_guard guard(m_mutex);
    m_entries.push_back({currentTime(), m_nextOrder++, std::move(owner), std::move(task)});
    m_posted.notify_all();
}

void ManualMainQueue::postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task)
{
    const std::lock_guard guard(m_mutex);
    const TimePoint due = currentTime() + std::max(delay, Duration::zero());
    m_entries.push_back({due, m_nextOrder++, std::move(owner), std::move(task)});
    m_posted.notify_all();
}

MainQueue::TimePoint ManualMainQueue::now() const
{
    const std::lock_guard guard(m_mutex);
    return currentTime();
}

void ManualMainQueue::advance(Duration duration)
{
    const TimePoint end = now() + duration;
    while (true) {
        std::optional<Entry> entry;
        {
            const std::lock_guard guard(m_mutex);
            entry = takeDue(end);
            m_now = std::max(m_now, entry ? entry->due : end);
        }
        if (!entry) {
            return;
        }
        run(*entry);
    }
}

void ManualMainQueue::stall(Duration duration)
{
    const std::lock_guard guard(m_mutex);
    m_now += duration;
}

bool ManualMainQueue::runUntil(const std::function<bool()>& isDone, Duration limit)
{
    const RealTime realTime(*this);
    const auto end = RealClock::now() + limit;
    while (!isDone()) {
        if (RealClock::now() >= end) {
            return false;
        }
        if (const auto entry = waitForDue(std::min(end, RealClock::now() + kAskInterval))) {
            run(*entry);
        }
    }
    return true;
}

void ManualMainQueue::runFor(Duration duration)
{
    runUntil([] { return false; }, duration);
}

std::size_t ManualMainQueue::waitingCount() const
{
    const std::lock_guard guard(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return !entry.owner.expired(); }));
}

std::optional<MainQueue::Duration> ManualMainQueue::untilNext() const
{
    const std::lock_guard guard(m_mutex);
    std::optional<Duration> shortest;
    for (const Entry& entry : m_entries) {
        const auto left = std::chrono::ceil<Duration>(entry.due - currentTime());
        if (!entry.owner.expired() && (!shortest || left < *shortest)) {
            shortest = left;
        }
    }
    return shortest;
}

void ManualMainQueue::run(const Entry& entry)
{
    if (const auto alive = entry.owner.lock()) {
        entry.task();
    }
}

bool ManualMainQueue::isEarlier(const Entry& one, const Entry& other)
{
    return one.due != other.due ? one.due < other.due : one.order < other.order;
}

MainQueue::TimePoint ManualMainQueue::currentTime() const
{
    return m_realBegin ? m_now + (RealClock::now() - *m_realBegin) : m_now;
}

std::vector<ManualMainQueue::Entry>::iterator ManualMainQueue::first()
{
    return std::min_element(m_entries.begin(), m_entries.end(), isEarlier);
}

std::optional<ManualMainQueue::Entry> ManualMainQueue::takeDue(TimePoint end)
{
    const auto next = first();
    if (next == m_entries.end() || next->due > end) {
        return std::nullopt;
    }
    Entry entry = std::move(*next);
    m_entries.erase(next);
    return entry;
}

std::optional<ManualMainQueue::Entry> ManualMainQueue::waitForDue(RealClock::time_point end)
{
    std::unique_lock lock(m_mutex);
    while (true) {
        if (auto entry = takeDue(currentTime())) {
            return entry;
        }
        if (RealClock::now() >= end) {
            return std::nullopt;
        }
        const auto next = first();
        const auto nextDue = next == m_entries.end() ? end : RealClock::now() + (next->due - currentTime());
        m_posted.wait_until(lock, std::min(end, nextDue));
    }
}

}  // namespace tavlo

#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace tavlo {

// A stopwatch that runs only while the machine gives this process time, for limits on how long a call may take. On a
// quiet machine it shows the clock's time. Where other programs keep the processors busy the clock would blame the call
// for their time; this one counts short sleeps of a thread of its own, and a sleep that lasts longer than it should
// counts as a short one. A call that waits in vain is measured in full, since the thread sleeps and wakes meanwhile.
class GivenTime {
public:
    GivenTime() : m_thread([this] { count(); }) {}
    ~GivenTime()
    {
        m_isOver = true;
        m_thread.join();
    }
    GivenTime(const GivenTime&) = delete;
    GivenTime& operator=(const GivenTime&) = delete;

    void restart()
    {
        m_elapsed = 0;
        m_began = std::chrono::steady_clock::now();
    }
    // By the clock, for limits on how short a call may be.
    std::chrono::milliseconds clockTime() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_began);
    }
    // Since the construction or the last restart, as both are; exact to some milliseconds.
    std::chrono::milliseconds elapsed() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::nanoseconds(m_elapsed));
    }

private:
    void count()
    {
        using namespace std::chrono_literals;
        using Clock = std::chrono::steady_clock;
        Clock::time_point last = Clock::now();
        while (!m_isOver) {
            std::this_thread::sleep_for(1ms);
            const Clock::time_point now = Clock::now();
            m_elapsed += std::min<std::chrono::nanoseconds>(now - last, 2ms).count();
            last = now;
        }
    }

    std::chrono::steady_clock::time_point m_began = std::chrono::steady_clock::now();
    std::atomic<std::chrono::nanoseconds::rep> m_elapsed = 0;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;  // last: it uses what stands above
};

}  // namespace tavlo

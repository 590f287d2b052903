#include "contract/backend.h"
#include "contract/x11/x11_environment.h"
#include "linux/qt/qt_queues.h"
#include "support/fakes/fake_background_queue.h"
#include "support/fakes/manual_main_queue.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <semaphore>
#include <thread>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

bool isMainThread()
{
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

class MainQueueContract : public testing::TestWithParam<Backend> {
protected:
    MainQueueContract()
    {
        if (GetParam() == Backend::Real) {
            m_queue = std::make_unique<QtMainQueue>();
        } else {
            auto manual = std::make_unique<ManualMainQueue>();
            m_manual = manual.get();
            m_queue = std::move(manual);
        }
    }

    MainQueue& queue() { return *m_queue; }
    void removeQueue()
    {
        m_queue.reset();
        m_manual = nullptr;
    }

    // Lets the queue run, and time pass, until the condition holds; false when it does not within ten seconds.
    bool runUntil(const std::function<bool()>& condition)
    {
        if (m_manual == nullptr) {
            return waitUntil(condition);
        }
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            m_manual->advance(1ms);
        }
        return true;
    }

    const Lifetime m_lifetime;

private:
    std::unique_ptr<MainQueue> m_queue;
    ManualMainQueue* m_manual = nullptr;
};

TEST_P(MainQueueContract, RunsTasksInTheOrderOfPostingAndNeverWithinThePost)
{
    QList<int> order;
    queue().post(m_lifetime.reference(), [&] {
        queue().post(m_lifetime.reference(), [&] { order.append(3); });
        queue().postAfter(0ms, m_lifetime.reference(), [&] { order.append(4); });
        order.append(1);
    });
    queue().post(m_lifetime.reference(), [&] { order.append(2); });
    EXPECT_TRUE(order.isEmpty());
    EXPECT_TRUE(runUntil([&] { return order.size() == 4; }));
    order.removeOne(4);  // Where a delay of nothing stands among the others is not promised.
    EXPECT_EQ(order, (QList<int>{1, 2, 3}));
}

TEST_P(MainQueueContract, ADelayOfNothingDoesNotRunWithinThePostEither)
{
    bool done = false;
    queue().postAfter(0ms, m_lifetime.reference(), [&] { done = true; });
    EXPECT_FALSE(done);
    EXPECT_TRUE(runUntil([&] { return done; }));
}

TEST_P(MainQueueContract, RunsTasksOfOtherThreadsOnTheMainThread)
{
    constexpr int kTasks = 1000;
    int count = 0;
    bool onMainThread = true;
    std::thread other([&, reference = m_lifetime.reference()] {
        for (int i = 0; i < kTasks; ++i) {
            queue().post(reference, [&, i] {
                EXPECT_EQ(count, i);
                ++count;
                onMainThread = onMainThread && isMainThread();
            });
        }
    });
    EXPECT_TRUE(runUntil([&] { return count == kTasks; }));
    other.join();
    EXPECT_TRUE(onMainThread);
}

TEST_P(MainQueueContract, DropsTheTasksOfAnOwnerThatIsGone)
{
    Lifetime renewed;
    auto gone = std::make_unique<Lifetime>();
    int wrong = 0;
    bool done = false;
    queue().post(gone->reference(), [&] { ++wrong; });
    queue().postAfter(1ms, gone->reference(), [&] { ++wrong; });
    queue().post(renewed.reference(), [&] { ++wrong; });
    queue().postAfter(1ms, renewed.reference(), [&] { ++wrong; });
    gone.reset();
    renewed.renew();
    queue().postAfter(20ms, m_lifetime.reference(), [&] { done = true; });
    EXPECT_TRUE(runUntil([&] { return done; }));
    EXPECT_EQ(wrong, 0);
}

TEST_P(MainQueueContract, DelaysAreKeptAndRunInTheirOrder)
{
    const auto begin = queue().now();
    QList<int> order;
    std::chrono::nanoseconds shortest{};
    queue().postAfter(60ms, m_lifetime.reference(), [&] { order.append(2); });
    queue().postAfter(30ms, m_lifetime.reference(), [&] {
        shortest = queue().now() - begin;
        order.append(1);
    });
    EXPECT_TRUE(runUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (QList<int>{1, 2}));
    EXPECT_GE(shortest, 30ms);
}

TEST_P(MainQueueContract, WhatWaitsWhenItGoesIsDropped)
{
    int wrong = 0;
    queue().post(m_lifetime.reference(), [&] { ++wrong; });
    queue().postAfter(0ms, m_lifetime.reference(), [&] { ++wrong; });
    removeQueue();
    QCoreApplication::processEvents();
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(On, MainQueueContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

// What the fake does beyond the port.
TEST(ManualMainQueue, TimeStandsStillUntilItIsMoved)
{
    ManualMainQueue queue;
    const Lifetime lifetime;
    const auto begin = queue.now();
    int done = 0;
    queue.postAfter(30ms, lifetime.reference(), [&] { ++done; });
    std::this_thread::sleep_for(40ms);
    queue.runPending();
    EXPECT_EQ(done, 0);
    EXPECT_EQ(queue.now(), begin);
    EXPECT_EQ(queue.untilNext(), 30ms);
    queue.stall(50ms);
    EXPECT_EQ(done, 0);
    EXPECT_EQ(queue.untilNext(), -20ms);
    queue.runPending();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(queue.untilNext(), std::nullopt);
}

TEST(ManualMainQueue, WhileItWaitsForOthersTimeGoesOnAsItReallyDoes)
{
    ManualMainQueue queue;
    const Lifetime lifetime;
    const auto before = std::chrono::steady_clock::now();
    bool done = false;
    queue.postAfter(30ms, lifetime.reference(), [&] { done = true; });
    EXPECT_TRUE(queue.runUntil([&] { return done; }));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 30ms);
    EXPECT_FALSE(queue.runUntil([] { return false; }, 10ms));
    const auto stopped = queue.now();
    std::this_thread::sleep_for(5ms);
    EXPECT_EQ(queue.now(), stopped);
}

class BackgroundQueueContract : public testing::TestWithParam<Backend> {
protected:
    BackgroundQueue& queue() { return GetParam() == Backend::Real ? static_cast<BackgroundQueue&>(m_real) : m_fake; }
    // Lets the tasks that wait run at the same time; the real queue needs no leave.
    void letRun()
    {
        if (GetParam() == Backend::Fake) {
            m_fake.runAllAtOnce();
        }
    }

    QtBackgroundQueue m_real;
    FakeBackgroundQueue m_fake;
};

TEST_P(BackgroundQueueContract, RunsTasksAtTheSameTimeOnOtherThreads)
{
    std::binary_semaphore first{0};
    std::binary_semaphore second{0};
    std::atomic<int> elsewhere = 0;
    std::counting_semaphore<2> done{0};
    // Each waits for the other: one thread alone would never end.
    queue().run([&] {
        elsewhere += isMainThread() ? 0 : 1;
        first.release();
        second.acquire();
        done.release();
    });
    queue().run([&] {
        elsewhere += isMainThread() ? 0 : 1;
        second.release();
        first.acquire();
        done.release();
    });
    letRun();
    EXPECT_TRUE(done.try_acquire_for(10s));
    EXPECT_TRUE(done.try_acquire_for(10s));
    EXPECT_EQ(elsewhere, 2);
}

TEST_P(BackgroundQueueContract, ATaskMayAddAnotherOne)
{
    std::binary_semaphore done{0};
    queue().run([&] { queue().run([&] { done.release(); }); });
    letRun();
    letRun();
    EXPECT_TRUE(done.try_acquire_for(10s));
}

INSTANTIATE_TEST_SUITE_P(On, BackgroundQueueContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

TEST(FakeBackgroundQueue, RunsWhatWaitsAndWhatThatAddsInOrder)
{
    FakeBackgroundQueue queue;
    QList<int> order;
    queue.run([&] {
        queue.run([&] { order.append(3); });
        order.append(1);
    });
    queue.run([&] { order.append(2); });
    EXPECT_TRUE(order.isEmpty());
    EXPECT_EQ(queue.waitingCount(), 2U);
    queue.runAll();
    EXPECT_EQ(order, (QList<int>{1, 2, 3}));
    EXPECT_EQ(queue.waitingCount(), 0U);
}

TEST(QtBackgroundQueue, EndsInBoundedTimeThoughATaskHangs)
{
    auto queue = std::make_unique<QtBackgroundQueue>(50ms);
    const auto hang = std::make_shared<std::binary_semaphore>(0);
    const auto ended = std::make_shared<std::binary_semaphore>(0);
    queue->run([hang, ended] {
        hang->acquire();
        ended->release();
    });
    const auto begin = std::chrono::steady_clock::now();
    queue.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    hang->release();
    EXPECT_TRUE(ended->try_acquire_for(10s));
}

}  // namespace
}  // namespace tavlo

#include "linux/qt/qt_queues.h"
#include "contract/x11/x11_environment.h"
#include "linux/qt/qt_workspace.h"
#include "platform/text_literals.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <thread>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

TEST(QtMainQueue, RunsTasksInTheOrderOfPostingAndNeverWithinThePost)
{
    QtMainQueue queue;
    const Lifetime lifetime;
    QList<int> order;
    queue.post(lifetime.reference(), [&] {
        queue.post(lifetime.reference(), [&] { order.append(3); });
        order.append(1);
    });
    queue.post(lifetime.reference(), [&] { order.append(2); });
    EXPECT_TRUE(order.isEmpty());
    EXPECT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (QList<int>{1, 2, 3}));
}

TEST(QtMainQueue, RunsTasksOfOtherThreadsOnTheMainThread)
{
    QtMainQueue queue;
    const Lifetime lifetime;
    constexpr int kTasks = 1000;
    int count = 0;
    bool onMainThread = true;
    std::thread other([&queue, &count, &onMainThread, reference = lifetime.reference()] {
        for (int i = 0; i < kTasks; ++i) {
            queue.post(reference, [&] {
                ++count;
                onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
            });
        }
    });
    EXPECT_TRUE(waitUntil([&] { return count == kTasks; }));
    other.join();
    EXPECT_TRUE(onMainThread);
}

TEST(QtMainQueue, DropsTheTasksOfAnOwnerThatIsGone)
{
    QtMainQueue queue;
    const Lifetime living;
    Lifetime renewed;
    auto gone = std::make_unique<Lifetime>();
    int wrong = 0;
    bool done = false;
    queue.post(gone->reference(), [&] { ++wrong; });
    queue.postAfter(1ms, gone->reference(), [&] { ++wrong; });
    queue.post(renewed.reference(), [&] { ++wrong; });
    queue.postAfter(1ms, renewed.reference(), [&] { ++wrong; });
    gone.reset();
    renewed.renew();
    queue.postAfter(20ms, living.reference(), [&] { done = true; });
    EXPECT_TRUE(waitUntil([&] { return done; }));
    EXPECT_EQ(wrong, 0);
}

TEST(QtMainQueue, DelaysAreKeptAndRunInTheirOrder)
{
    QtMainQueue queue;
    const Lifetime lifetime;
    const auto begin = queue.now();
    QList<int> order;
    std::chrono::nanoseconds shortest{};
    queue.postAfter(60ms, lifetime.reference(), [&] { order.append(2); });
    queue.postAfter(30ms, lifetime.reference(), [&] {
        shortest = queue.now() - begin;
        order.append(1);
    });
    EXPECT_TRUE(waitUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (QList<int>{1, 2}));
    EXPECT_GE(shortest, 29ms);
}

TEST(QtMainQueue, WhatWaitsWhenItGoesIsDropped)
{
    const Lifetime lifetime;
    int wrong = 0;
    {
        QtMainQueue queue;
        queue.post(lifetime.reference(), [&] { ++wrong; });
        queue.postAfter(0ms, lifetime.reference(), [&] { ++wrong; });
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(wrong, 0);
}

TEST(QtBackgroundQueue, RunsTasksAtTheSameTimeOnOtherThreads)
{
    QtBackgroundQueue queue;
    std::binary_semaphore first{0};
    std::binary_semaphore second{0};
    std::atomic<int> elsewhere = 0;
    const auto count = [&] { elsewhere += QThread::currentThread() != QCoreApplication::instance()->thread() ? 1 : 0; };
    std::counting_semaphore<2> done{0};
    // Each waits for the other: one thread alone would never end.
    queue.run([&] {
        count();
        first.release();
        second.acquire();
        done.release();
    });
    queue.run([&] {
        count();
        second.release();
        first.acquire();
        done.release();
    });
    EXPECT_TRUE(done.try_acquire_for(10s));
    EXPECT_TRUE(done.try_acquire_for(10s));
    EXPECT_EQ(elsewhere, 2);
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

class WorkspaceTest : public testing::Test {
protected:
    WorkspaceTest()
    {
        // In place of the desktop's opener: it notes what it is given, and is noisy as browsers are.
        QFile opener(m_folder.filePath(u"xdg-open"_s));
        EXPECT_TRUE(opener.open(QIODevice::WriteOnly));
        opener.write("#!/bin/sh\necho noise; echo noise >&2\nprintf '%s\\n' \"$#\" \"$1\" > '" + path().toLocal8Bit() +
                     ".part'\nmv '" + path().toLocal8Bit() + ".part' '" + path().toLocal8Bit() + "'\n");
        opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        opener.close();
        qputenv("PATH", m_folder.path().toLocal8Bit() + ':' + m_pathBefore);
    }

    ~WorkspaceTest() override { qputenv("PATH", m_pathBefore); }

    QString path() const { return m_folder.filePath(u"opened"_s); }

    QByteArray opened() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QByteArray m_pathBefore = qgetenv("PATH");
    QTemporaryDir m_folder;
    QtWorkspace m_workspace;
};

TEST_F(WorkspaceTest, OpensAnAddressWithTheDesktopsProgramWithoutWaitingForIt)
{
    m_workspace.open(QUrl(u"https://example.org/a b?c=é#plakken"_s));
    EXPECT_TRUE(waitUntil([this] { return !opened().isEmpty(); }));
    EXPECT_EQ(opened(), "1\nhttps://example.org/a%20b?c=%C3%A9#plakken\n");
}

TEST_F(WorkspaceTest, OpensAFile)
{
    m_workspace.open(QUrl::fromLocalFile(u"/tmp/mijn map/config.json"_s));
    EXPECT_TRUE(waitUntil([this] { return !opened().isEmpty(); }));
    EXPECT_EQ(opened(), "1\nfile:///tmp/mijn%20map/config.json\n");
}

TEST_F(WorkspaceTest, AnInvalidAddressDoesNothing)
{
    m_workspace.open(QUrl());
    m_workspace.open(QUrl(u"http://[broken"_s));
    m_workspace.open(QUrl(u"https://example.org/last"_s));
    EXPECT_TRUE(waitUntil([this] { return !opened().isEmpty(); }));
    EXPECT_EQ(opened(), "1\nhttps://example.org/last\n");
}

}  // namespace
}  // namespace tavlo

#include "linux/freedesktop/process_end.h"

#include "platform/text_literals.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <csignal>

namespace tavlo {
namespace {

class TerminationSignalsTest : public ::testing::TestWithParam<int> {};

TEST_P(TerminationSignalsTest, TheSignalBecomesOneCallFromTheEventLoop)
{
    int calls = 0;
    const TerminationSignals listener([&] { ++calls; });
    ASSERT_EQ(std::raise(GetParam()), 0);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(comesTrue([&] {
        QCoreApplication::processEvents();
        return calls > 0;
    }));
    QCoreApplication::processEvents();
    EXPECT_EQ(calls, 1);
}

TEST_P(TerminationSignalsTest, TheSameSignalAgainEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // The library's own thread runs by now.
    EXPECT_EXIT(
        {
            const TerminationSignals listener([] {});
            std::raise(GetParam());
            std::raise(GetParam());
        },
        ::testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsTest, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST(TerminationSignals, AProgramStartedWithoutHangupsStaysSo)
{
    std::signal(SIGHUP, SIG_IGN);
    int calls = 0;
    {
        const TerminationSignals listener([&] { ++calls; });
        std::raise(SIGHUP);
        std::raise(SIGTERM);
        EXPECT_TRUE(comesTrue([&] {
            QCoreApplication::processEvents();
            return calls > 0;
        }));
        EXPECT_EQ(calls, 1);
    }
    std::signal(SIGHUP, SIG_DFL);
}

TEST(TerminationSignals, ProgramsThatAreStartedMeanwhileCanBeEnded)
{
    const TerminationSignals listener([] {});
    QProcess child;
    child.start(u"sleep"_s, {u"60"_s});
    ASSERT_TRUE(child.waitForStarted());
    child.terminate();
    EXPECT_TRUE(child.waitForFinished(5'000));
    EXPECT_EQ(child.exitStatus(), QProcess::CrashExit);
}

}  // namespace
}  // namespace tavlo

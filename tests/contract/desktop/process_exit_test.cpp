#include "linux/freedesktop/process_end.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>

namespace tavlo {
namespace {

void tell()
{
    std::fputs("told\n", stderr);
}

// GoogleTest runs suites of this kind of name first: a process forks safely only while it has one thread.
TEST(ProcessExitDeathTest, IsToldWhenALibraryEndsTheProcess)
{
    EXPECT_EXIT(
        {
            const ProcessExit guard(&tell);
            std::exit(3);
        },
        testing::ExitedWithCode(3), "^told\n$");
}

TEST(ProcessExitDeathTest, SaysNothingWhenItIsGoneBeforeTheEnd)
{
    EXPECT_EXIT(
        {
            std::optional<ProcessExit> guard(std::in_place, &tell);
            guard.reset();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^$");
}

TEST(ProcessExitDeathTest, SaysNothingOnAnotherThread)
{
    EXPECT_EXIT(
        {
            const ProcessExit guard(&tell);
            std::thread([] { std::exit(4); }).join();
        },
        testing::ExitedWithCode(4), "^$");
}

}  // namespace
}  // namespace tavlo

#include "ui/windows/window_controls.h"

#include <QPushButton>

#include <gtest/gtest.h>

#include <memory>

using namespace tavlo;

TEST(ClosureTarget, FireCallsItsHandler)
{
    int calls = 0;
    ClosureTarget target([&calls] { ++calls; });
    target.fire();
    EXPECT_EQ(calls, 1);
}

TEST(ClosureTarget, AClickFiresTheBoundTarget)
{
    int calls = 0;
    ClosureTarget target([&calls] { ++calls; });
    QPushButton button;
    target.bind(&button);
    button.click();
    EXPECT_EQ(calls, 1);
}

TEST(ClosureTarget, AButtonWhoseTargetIsGoneDoesNothing)
{
    int calls = 0;
    auto target = std::make_unique<ClosureTarget>([&calls] { ++calls; });
    QPushButton button;
    target->bind(&button);
    target.reset();
    button.click();
    EXPECT_EQ(calls, 0);
}

TEST(ClosureTarget, AHandlerMayDestroyItsOwnTarget)
{
    std::unique_ptr<ClosureTarget> target;
    const auto witness = std::make_shared<int>(0);
    target = std::make_unique<ClosureTarget>([&target, witness] {
        target.reset();
        ++*witness;  // still ours after the target is gone
    });
    QPushButton button;
    target->bind(&button);
    button.click();
    EXPECT_EQ(*witness, 1);
    EXPECT_FALSE(target);
}

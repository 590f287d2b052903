#include "platform/registration.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tavlo {
namespace {

class HandlerListTest : public testing::Test {
protected:
    // A handler that writes its name down.
    std::function<void()> note(const std::string& name)
    {
        return [this, name] { called += name; };
    }

    HandlerList<> list;
    std::string called;
};

TEST_F(HandlerListTest, CallsTheHandlersInTheOrderOfTheirRegistration)
{
    const Registration first = list.add(note("1"));
    const Registration second = list.add(note("2"));
    const Registration third = list.add(note("3"));
    list.call();
    list.call();
    EXPECT_EQ(called, "123123");
}

TEST_F(HandlerListTest, ARegistrationThatGoesTakesItsOwnHandlerOnly)
{
    Registration older = list.add(note("o"));
    const Registration newer = list.add(note("n"));
    older = {};
    list.call();
    EXPECT_EQ(called, "n");
}

TEST_F(HandlerListTest, ARegistrationAssignedOverEndsTheOlderOne)
{
    Registration registration = list.add(note("o"));
    registration = list.add(note("n"));
    list.call();
    EXPECT_EQ(called, "n");
}

TEST_F(HandlerListTest, AMovedRegistrationStaysInForce)
{
    std::optional<Registration> from(list.add(note("1")));
    const Registration to = std::move(*from);
    from.reset();
    list.call();
    EXPECT_EQ(called, "1");
}

TEST_F(HandlerListTest, AHandlerMayUnregisterItself)
{
    Registration own;
    own = list.add([&] {
        own = {};
        called += "1";
    });
    const Registration other = list.add(note("2"));
    list.call();
    list.call();
    EXPECT_EQ(called, "122");
}

TEST_F(HandlerListTest, AHandlerThatWasUnregisteredByAnEarlierOneIsNotCalledAnyMore)
{
    Registration later;
    const Registration earlier = list.add([&] {
        later = {};
        called += "1";
    });
    later = list.add(note("2"));
    list.call();
    EXPECT_EQ(called, "1");
}

TEST_F(HandlerListTest, AHandlerAddedMeanwhileGetsTheNextEvent)
{
    std::optional<Registration> added;
    const Registration first = list.add([&] {
        called += "1";
        if (!added) {
            added = list.add(note("2"));
        }
    });
    list.call();
    EXPECT_EQ(called, "1");
    list.call();
    EXPECT_EQ(called, "112");
}

TEST_F(HandlerListTest, ARegistrationMayOutliveTheList)
{
    auto shortLived = std::make_unique<HandlerList<>>();
    Registration registration = shortLived->add(note("1"));
    shortLived.reset();
    registration = {};
    EXPECT_EQ(called, "");
}

TEST_F(HandlerListTest, IsEmptyOnceTheLastRegistrationHasGone)
{
    EXPECT_TRUE(list.isEmpty());
    Registration first = list.add(note("1"));
    Registration second = list.add(note("2"));
    first = {};
    EXPECT_FALSE(list.isEmpty());
    second = {};
    EXPECT_TRUE(list.isEmpty());
}

TEST(HandlerListWithArguments, GivesEachHandlerTheSame)
{
    HandlerList<const std::string&, int> list;
    std::string called;
    const auto note = [&](const std::string& text, int number) { called += text + std::to_string(number) + ' '; };
    const Registration first = list.add(note);
    const Registration second = list.add(note);
    list.call("a", 1);
    EXPECT_EQ(called, "a1 a1 ");
}

}  // namespace
}  // namespace tavlo

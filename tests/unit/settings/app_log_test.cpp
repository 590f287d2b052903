#include "settings/app_log.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

TEST(AppLog, ANumberIsWrittenAsTheShortestDecimalThatReadsBackTheSame)
{
    EXPECT_EQ(shortestDecimal(0.0F), u"0.0"_s);
    EXPECT_EQ(shortestDecimal(1.0F), u"1.0"_s);
    EXPECT_EQ(shortestDecimal(0.18F), u"0.18"_s);
    EXPECT_EQ(shortestDecimal(0.1F), u"0.1"_s);
    EXPECT_EQ(shortestDecimal(0.123456789F), u"0.12345679"_s);
    EXPECT_EQ(shortestDecimal(0.00001F), u"0.00001"_s);
}

}  // namespace
}  // namespace tavlo

#include "posix/utf8_text.h"

#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

TEST(Utf8Text, isTheTextOrNothing)
{
    EXPECT_EQ(utf8Text("Zo\xc3\xab"), u"Zoë"_s);
    EXPECT_EQ(utf8Text({}), QString());
    for (const char* broken : {"Zo\xeb", "Zo\xc3", "\xed\xa0\x80", "a\xffz"}) {
        EXPECT_EQ(utf8Text(broken), QString()) << broken;
    }
}

TEST(Utf8Text, keepsAnInitialByteOrderMarkOnRequestOnly)
{
    EXPECT_EQ(utf8Text("\xef\xbb\xbf"
                       "a"),
              u"a"_s);
    EXPECT_EQ(utf8Text("\xef\xbb\xbf"
                       "a",
                       ByteOrderMark::Keep),
              u"\ufeff"
              "a"_s);
}

}  // namespace
}  // namespace tavlo

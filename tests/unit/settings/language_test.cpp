#include "settings/language.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

TEST(Language, GivesTheEnglishTextOnlyWhenTheLanguageIsExactlyEn)
{
    const QString before = gLang;
    const auto text = [](const QString& language) {
        gLang = language;
        return t(u"Klaar"_s, u"Ready"_s);
    };
    EXPECT_EQ(text(u"en"_s), u"Ready"_s);
    EXPECT_EQ(text(u"nl"_s), u"Klaar"_s);
    EXPECT_EQ(text(QString()), u"Klaar"_s);
    EXPECT_EQ(text(u"de"_s), u"Klaar"_s);
    EXPECT_EQ(text(u"EN"_s), u"Klaar"_s);
    gLang = before;
}

TEST(Language, ChoosesAmongWordsAsAmongTexts)
{
    const QString before = gLang;
    const Words words{u"Klaar"_s, u"Ready"_s};
    EXPECT_EQ(t(words), u"Klaar"_s);
    gLang = u"en"_s;
    EXPECT_EQ(t(words), u"Ready"_s);
    gLang = before;
}

}  // namespace
}  // namespace tavlo

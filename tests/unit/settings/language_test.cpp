#include "settings/language.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

TEST(Language, GivesTheEnglishTextOnlyWhenTheLanguageIsExactlyEn)
{
    const QString before = gLang;
    const auto text = [](const QString& language) {
        gLang = language;
        return t(QStringLiteral("Klaar"), QStringLiteral("Ready"));
    };
    EXPECT_EQ(text(QStringLiteral("en")), QStringLiteral("Ready"));
    EXPECT_EQ(text(QStringLiteral("nl")), QStringLiteral("Klaar"));
    EXPECT_EQ(text(QString()), QStringLiteral("Klaar"));
    EXPECT_EQ(text(QStringLiteral("de")), QStringLiteral("Klaar"));
    EXPECT_EQ(text(QStringLiteral("EN")), QStringLiteral("Klaar"));
    gLang = before;
}

}  // namespace
}  // namespace tavlo

#include "platform/text_literals.h"
#include "ui/windows/offer_window.h"

#include "settings/language.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QLocale kDutch(QLocale::Dutch, QLocale::Netherlands);
const QLocale kEnglish(QLocale::English, QLocale::UnitedStates);

TEST(ByteCountText, hasNoDigitInKilobytesOneInMegabytesTwoInGigabytes)
{
    EXPECT_EQ(byteCountText(312'500'000, kDutch), u"312,5 MB"_s);
    EXPECT_EQ(byteCountText(312'500'000, kEnglish), u"312.5 MB"_s);
    EXPECT_EQ(byteCountText(312'000'000, kDutch), u"312,0 MB"_s);
    EXPECT_EQ(byteCountText(1'620'000'000, kDutch), u"1,62 GB"_s);
    EXPECT_EQ(byteCountText(64'000, kDutch), u"64 kB"_s);
    EXPECT_EQ(byteCountText(0, kDutch), u"0 kB"_s);
}

TEST(ByteCountText, roundsIntoTheNextUnit)
{
    EXPECT_EQ(byteCountText(999'499, kEnglish), u"999 kB"_s);
    EXPECT_EQ(byteCountText(999'500, kEnglish), u"1.0 MB"_s);
    EXPECT_EQ(byteCountText(999'949'999, kEnglish), u"999.9 MB"_s);
    EXPECT_EQ(byteCountText(999'950'000, kEnglish), u"1.00 GB"_s);
}

TEST(DownloadProgressText, tellsAmountsAndPercentage)
{
    EXPECT_EQ(downloadProgressText(312.5 / 1620, 312'500'000, 1'620'000'000, kDutch), u"312,5 MB / 1,62 GB  (19%)"_s);
}

TEST(DownloadProgressText, showsTheUsualSizeWhileTheExpectedOneIsUnknown)
{
    EXPECT_EQ(downloadProgressText(0, 5'000'000, -1, kDutch), u"5,0 MB / ± 1,6 GB  (0%)"_s);
    EXPECT_EQ(downloadProgressText(0, 5'000'000, 0, kEnglish), u"5.0 MB / ± 1,6 GB  (0%)"_s);
}

TEST(DownloadProgressText, cutsAFractionOf0999To99PerCent)
{
    EXPECT_EQ(downloadProgressText(0.999, 999'000'000, 1'000'000'000, kEnglish), u"999.0 MB / 1.00 GB  (99%)"_s);
    EXPECT_TRUE(downloadProgressText(1, 1, 1, kEnglish).endsWith(u"(100%)"_s));
}

TEST(DownloadFailureText, putsThePrefixOfTheInterfacesLanguageBeforeTheDescription)
{
    gLang = u"nl"_s;
    EXPECT_EQ(downloadFailureText(u"Download gaf status 404."_s), u"Download mislukt: Download gaf status 404."_s);
    gLang = u"en"_s;
    EXPECT_EQ(downloadFailureText(u"Download gaf status 404."_s), u"Download failed: Download gaf status 404."_s);
    gLang = u"nl"_s;
}

}  // namespace
}  // namespace tavlo

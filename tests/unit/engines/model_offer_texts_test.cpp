#include "engines/model_offer_texts.h"

#include "settings/language.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QLocale kDutch(QLocale::Dutch, QLocale::Netherlands);
const QLocale kEnglish(QLocale::English, QLocale::UnitedStates);

TEST(ByteCountText, hasNoDigitInKilobytesOneInMegabytesTwoInGigabytes)
{
    EXPECT_EQ(byteCountText(312'500'000, kDutch), QStringLiteral("312,5 MB"));
    EXPECT_EQ(byteCountText(312'500'000, kEnglish), QStringLiteral("312.5 MB"));
    EXPECT_EQ(byteCountText(312'000'000, kDutch), QStringLiteral("312,0 MB"));
    EXPECT_EQ(byteCountText(1'620'000'000, kDutch), QStringLiteral("1,62 GB"));
    EXPECT_EQ(byteCountText(64'000, kDutch), QStringLiteral("64 kB"));
    EXPECT_EQ(byteCountText(0, kDutch), QStringLiteral("0 kB"));
}

TEST(ByteCountText, roundsIntoTheNextUnit)
{
    EXPECT_EQ(byteCountText(999'499, kEnglish), QStringLiteral("999 kB"));
    EXPECT_EQ(byteCountText(999'500, kEnglish), QStringLiteral("1.0 MB"));
    EXPECT_EQ(byteCountText(999'949'999, kEnglish), QStringLiteral("999.9 MB"));
    EXPECT_EQ(byteCountText(999'950'000, kEnglish), QStringLiteral("1.00 GB"));
}

TEST(DownloadProgressText, tellsAmountsAndPercentage)
{
    EXPECT_EQ(downloadProgressText(312.5 / 1620, 312'500'000, 1'620'000'000, kDutch),
              QStringLiteral("312,5 MB / 1,62 GB  (19%)"));
}

TEST(DownloadProgressText, showsTheUsualSizeWhileTheExpectedOneIsUnknown)
{
    EXPECT_EQ(downloadProgressText(0, 5'000'000, -1, kDutch), QStringLiteral("5,0 MB / ± 1,6 GB  (0%)"));
    EXPECT_EQ(downloadProgressText(0, 5'000'000, 0, kEnglish), QStringLiteral("5.0 MB / ± 1,6 GB  (0%)"));
}

TEST(DownloadProgressText, cutsAFractionOf0999To99PerCent)
{
    EXPECT_EQ(downloadProgressText(0.999, 999'000'000, 1'000'000'000, kEnglish),
              QStringLiteral("999.0 MB / 1.00 GB  (99%)"));
    EXPECT_TRUE(downloadProgressText(1, 1, 1, kEnglish).endsWith(QStringLiteral("(100%)")));
}

TEST(DownloadFailureText, putsThePrefixOfTheInterfacesLanguageBeforeTheDescription)
{
    gLang = QStringLiteral("nl");
    EXPECT_EQ(downloadFailureText(QStringLiteral("Download gaf status 404.")),
              QStringLiteral("Download mislukt: Download gaf status 404."));
    gLang = QStringLiteral("en");
    EXPECT_EQ(downloadFailureText(QStringLiteral("Download gaf status 404.")),
              QStringLiteral("Download failed: Download gaf status 404."));
    gLang = QStringLiteral("nl");
}

}  // namespace
}  // namespace tavlo

#include "engines/model_offer_texts.h"
#include "window_test_support.h"

using namespace tavlo;
using tavlo::test::InLanguage;

namespace {

const QLocale kDutch(QLocale::Dutch);
const QLocale kEnglish(QLocale::English);

}  // namespace

TEST(OfferTexts, AmountsHaveTheirUnitsDigitsInTheUsersLocale)
{
    EXPECT_EQ(byteCountText(0, kDutch), QStringLiteral("0 kB"));
    EXPECT_EQ(byteCountText(16'384, kDutch), QStringLiteral("16 kB"));
    EXPECT_EQ(byteCountText(312'500'000, kDutch), QStringLiteral("312,5 MB"));
    EXPECT_EQ(byteCountText(312'500'000, kEnglish), QStringLiteral("312.5 MB"));
    EXPECT_EQ(byteCountText(312'000'000, kDutch), QStringLiteral("312,0 MB"));
    EXPECT_EQ(byteCountText(1'624'555'275, kDutch), QStringLiteral("1,62 GB"));
}

TEST(OfferTexts, AnAmountThatRoundsToAThousandTakesTheNextUnit)
{
    EXPECT_EQ(byteCountText(999'499, kDutch), QStringLiteral("999 kB"));
    EXPECT_EQ(byteCountText(999'500, kDutch), QStringLiteral("1,0 MB"));
    EXPECT_EQ(byteCountText(999'949'999, kDutch), QStringLiteral("999,9 MB"));
    EXPECT_EQ(byteCountText(999'950'000, kDutch), QStringLiteral("1,00 GB"));
}

TEST(OfferTexts, ProgressNamesBothAmountsAndThePercentage)
{
    EXPECT_EQ(downloadProgressText(0.1923, 312'500'000, 1'624'555'275, kDutch),
              QStringLiteral("312,5 MB / 1,62 GB  (19%)"));
}

TEST(OfferTexts, AnUnknownExpectedSizeShowsTheUsualOne)
{
    for (const qint64 unknown : {qint64{0}, qint64{-1}}) {
        EXPECT_EQ(downloadProgressText(0, 5'000'000, unknown, kDutch), QStringLiteral("5,0 MB / ± 1,6 GB  (0%)"));
    }
}

TEST(OfferTexts, AFractionOf0999Shows99PerCent)
{
    EXPECT_TRUE(downloadProgressText(0.999, 1, 2, kDutch).endsWith(QStringLiteral("(99%)")));
    EXPECT_TRUE(downloadProgressText(1, 2, 2, kDutch).endsWith(QStringLiteral("(100%)")));
}

TEST(OfferTexts, AFailureIsPrefixedInTheInterfaceLanguageOnly)
{
    const QString description = QStringLiteral("Download gaf status 404.");
    EXPECT_EQ(downloadFailureText(description), QStringLiteral("Download mislukt: Download gaf status 404."));
    const InLanguage english(QStringLiteral("en"));
    EXPECT_EQ(downloadFailureText(description), QStringLiteral("Download failed: Download gaf status 404."));
}

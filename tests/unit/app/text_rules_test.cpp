#include "app/text_rules.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QString kVocabulary = QStringLiteral("Kubernetes, PostgreSQL, Grafana");

TEST(TextRules, ACharacterIsWhatTheUserSeesAsOne)
{
    EXPECT_EQ(characterCount(QString()), 0);
    EXPECT_EQ(characterCount(QStringLiteral("hallo")), 5);
    EXPECT_EQ(characterCount(QStringLiteral("e\u0301")), 1);
    EXPECT_EQ(characterCount(QStringLiteral("👩‍👩‍👧")), 1);
    EXPECT_EQ(characterCount(QStringLiteral("🇳🇱🇬🇧")), 2);
    EXPECT_EQ(characterCount(QStringLiteral("a\r\nb")), 3);
}

TEST(TextRules, ARecordingOfTenSecondsIsNeverSuspicious)
{
    EXPECT_FALSE(isSuspiciouslyShort(0, 10.0));
    EXPECT_TRUE(isSuspiciouslyShort(0, 10.001));
}

TEST(TextRules, FewerThanThreeCharactersASecondAreSuspicious)
{
    EXPECT_TRUE(isSuspiciouslyShort(31, 10.5));
    EXPECT_FALSE(isSuspiciouslyShort(33, 11.0));
    EXPECT_TRUE(isSuspiciouslyShort(32, 11.0));
}

TEST(TextRules, ATranscriptThatRepeatsTheVocabularyIsAnEcho)
{
    EXPECT_TRUE(isVocabularyEcho(QStringLiteral(" kubernetes, postgresql, grafana."), kVocabulary));
    EXPECT_TRUE(isVocabularyEcho(QStringLiteral("\n«Kubernetes, PostgreSQL»!?\u00a0"), kVocabulary));
}

TEST(TextRules, AShortPartOfTheVocabularyIsNoEcho)
{
    EXPECT_FALSE(isVocabularyEcho(QStringLiteral("Grafana"), kVocabulary));
    // "resql, grafana" has 14 characters, "gresql, grafana" has 15.
    EXPECT_FALSE(isVocabularyEcho(QStringLiteral("resql, Grafana"), kVocabulary));
    EXPECT_TRUE(isVocabularyEcho(QStringLiteral("gresql, Grafana"), kVocabulary));
}

TEST(TextRules, InnerPunctuationCounts)
{
    EXPECT_FALSE(isVocabularyEcho(QStringLiteral("kubernetes postgresql grafana"), kVocabulary));
}

TEST(TextRules, NothingEchoesAnEmptyVocabulary)
{
    EXPECT_FALSE(isVocabularyEcho(QStringLiteral("kubernetes, postgresql, grafana"), QStringLiteral(" \n")));
}

TEST(TextRules, TextsAreTheSameWhenCanonicallyEquivalent)
{
    EXPECT_TRUE(
        isVocabularyEcho(QStringLiteral("cafe\u0301 cre\u0300me brule\u0301"), QStringLiteral("Café crème brulé")));
}

TEST(TextRules, AnEchoIsARunOfWholeCharacters)
{
    // The transcript ends inside a character of the word list: a letter with a mark that has no composed form.
    EXPECT_FALSE(isVocabularyEcho(QStringLiteral("abcdefghijklmnox"), QStringLiteral("abcdefghijklmnox\u0301 end")));
    EXPECT_TRUE(
        isVocabularyEcho(QStringLiteral("abcdefghijklmnox\u0301"), QStringLiteral("abcdefghijklmnox\u0301 end")));
}

TEST(TextRules, ThePeakPrintsAsTheShortestDecimalThatReadsBackTheSame)
{
    EXPECT_EQ(shortestDecimal(0.0F), QStringLiteral("0.0"));
    EXPECT_EQ(shortestDecimal(1.0F), QStringLiteral("1.0"));
    EXPECT_EQ(shortestDecimal(0.18F), QStringLiteral("0.18"));
    EXPECT_EQ(shortestDecimal(0.1F), QStringLiteral("0.1"));
    EXPECT_EQ(shortestDecimal(0.123456789F), QStringLiteral("0.12345679"));
    EXPECT_EQ(shortestDecimal(0.00001F), QStringLiteral("0.00001"));
}

}  // namespace
}  // namespace tavlo

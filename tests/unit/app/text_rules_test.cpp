#include "app/text_rules.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QString kVocabulary = u"Kubernetes, PostgreSQL, Grafana"_s;

TEST(TextRules, ACharacterIsWhatTheUserSeesAsOne)
{
    EXPECT_EQ(characterCount(QString()), 0);
    EXPECT_EQ(characterCount(u"hallo"_s), 5);
    EXPECT_EQ(characterCount(u"e\u0301"_s), 1);
    EXPECT_EQ(characterCount(u"👩‍👩‍👧"_s), 1);
    EXPECT_EQ(characterCount(u"🇳🇱🇬🇧"_s), 2);
    EXPECT_EQ(characterCount(u"a\r\nb"_s), 3);
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
    EXPECT_TRUE(isVocabularyEcho(u" kubernetes, postgresql, grafana."_s, kVocabulary));
    EXPECT_TRUE(isVocabularyEcho(u"\n«Kubernetes, PostgreSQL»!?\u00a0"_s, kVocabulary));
}

TEST(TextRules, AShortPartOfTheVocabularyIsNoEcho)
{
    EXPECT_FALSE(isVocabularyEcho(u"Grafana"_s, kVocabulary));
    // "resql, grafana" has 14 characters, "gresql, grafana" has 15.
    EXPECT_FALSE(isVocabularyEcho(u"resql, Grafana"_s, kVocabulary));
    EXPECT_TRUE(isVocabularyEcho(u"gresql, Grafana"_s, kVocabulary));
}

TEST(TextRules, InnerPunctuationCounts)
{
    EXPECT_FALSE(isVocabularyEcho(u"kubernetes postgresql grafana"_s, kVocabulary));
}

TEST(TextRules, NothingEchoesAnEmptyVocabulary)
{
    EXPECT_FALSE(isVocabularyEcho(u"kubernetes, postgresql, grafana"_s, u" \n"_s));
}

TEST(TextRules, TextsAreTheSameWhenCanonicallyEquivalent)
{
    EXPECT_TRUE(isVocabularyEcho(u"cafe\u0301 cre\u0300me brule\u0301"_s, u"Café crème brulé"_s));
}

TEST(TextRules, AnEchoIsARunOfWholeCharacters)
{
    // The transcript ends inside a character of the word list: a letter with a mark that has no composed form.
    EXPECT_FALSE(isVocabularyEcho(u"abcdefghijklmnox"_s, u"abcdefghijklmnox\u0301 end"_s));
    EXPECT_TRUE(isVocabularyEcho(u"abcdefghijklmnox\u0301"_s, u"abcdefghijklmnox\u0301 end"_s));
}

}  // namespace
}  // namespace tavlo

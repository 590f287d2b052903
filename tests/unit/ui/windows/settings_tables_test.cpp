#include "platform/text_literals.h"
#include "ui/windows/settings_form.h"

#include "window_test_support.h"

using namespace tavlo;

TEST(SettingsTables, ValuesStandInTheAgreedOrder)
{
    EXPECT_EQ(kLangValues, (std::array{u"nl"_s, u"en"_s}));
    EXPECT_EQ(kProviderValues, (std::array{u"openai"_s, u"groq"_s}));
    EXPECT_EQ(kModelValues, (std::array{u"gpt-4o-transcribe"_s, u"gpt-4o-mini-transcribe"_s, u"whisper-1"_s}));
    EXPECT_EQ(kGroqModels, (std::array{u"whisper-large-v3-turbo"_s}));
    EXPECT_EQ(kEngineValues, (std::array{u"auto"_s, u"openai"_s, u"local"_s}));
}

TEST(SettingsTables, TitlesInDutch)
{
    EXPECT_EQ(langTitles(), (QStringList{u"Nederlands"_s, u"English"_s}));
    EXPECT_EQ(providerTitles(), (QStringList{u"OpenAI"_s, u"Groq (voordeligste)"_s}));
    EXPECT_EQ(modelTitles(),
              (QStringList{u"gpt-4o-transcribe (beste)"_s, u"gpt-4o-mini-transcribe (goedkoper)"_s, u"whisper-1"_s}));
    EXPECT_EQ(groqModelTitles(), QStringList{u"whisper-large-v3-turbo (snel & spotgoedkoop)"_s});
    EXPECT_EQ(engineTitles(), (QStringList{u"Automatisch (cloud, lokaal als reserve)"_s, u"Alleen cloud"_s,
                                           u"Alleen lokaal (gratis)"_s}));
}

TEST(SettingsTables, TitlesInEnglish)
{
    const LanguageScope english(u"en"_s);
    EXPECT_EQ(langTitles(), (QStringList{u"Nederlands"_s, u"English"_s}));
    EXPECT_EQ(providerTitles(), (QStringList{u"OpenAI"_s, u"Groq (cheapest)"_s}));
    EXPECT_EQ(modelTitles(),
              (QStringList{u"gpt-4o-transcribe (best)"_s, u"gpt-4o-mini-transcribe (cheaper)"_s, u"whisper-1"_s}));
    EXPECT_EQ(groqModelTitles(), QStringList{u"whisper-large-v3-turbo (fast & dirt cheap)"_s});
    EXPECT_EQ(engineTitles(),
              (QStringList{u"Automatic (cloud, local as backup)"_s, u"Cloud only"_s, u"Local only (free)"_s}));
}

TEST(SettingsTables, CostsFollowProviderAndModel)
{
    const auto sentence = [](const QString& cost) {
        return u"Kosten met eigen sleutel: ± "_s + cost + u" per uur spraak · lokale Whisper is altijd gratis"_s;
    };
    EXPECT_EQ(costText(u"openai"_s, 0), sentence(u"$0,36 (≈ €0,33)"_s));
    EXPECT_EQ(costText(u"openai"_s, 1), sentence(u"$0,18 (≈ €0,17)"_s));
    EXPECT_EQ(costText(u"openai"_s, 2), sentence(u"$0,36 (≈ €0,33)"_s));
    EXPECT_EQ(costText(u"groq"_s, 0), sentence(u"$0,04 (≈ €0,04)"_s));
    EXPECT_EQ(costText(u"groq"_s, 1), sentence(u"$0,04 (≈ €0,04)"_s));
    const LanguageScope english(u"en"_s);
    EXPECT_EQ(costText(u"openai"_s, 1),
              u"Cost with your own key: ~ $0,18 (≈ €0,17) per hour of speech · local Whisper is always "
              "free"_s);
}

TEST(SettingsTables, HalvesRoundAwayFromZero)
{
    EXPECT_EQ(percentText(0.125), u"13%"_s);
    EXPECT_DOUBLE_EQ(storedVolume(0.125), 0.13);
    EXPECT_EQ(percentText(0.08), u"8%"_s);
    EXPECT_DOUBLE_EQ(storedVolume(0.0849), 0.08);
    EXPECT_EQ(percentText(0.0), u"0%"_s);
    EXPECT_EQ(percentText(0.3), u"30%"_s);
}

TEST(SettingsTables, AValueThatIsNotInTheTableSelectsTheFirst)
{
    EXPECT_EQ(indexOf(kModelValues, u"whisper-1"_s), 2);
    EXPECT_EQ(indexOf(kModelValues, u"gpt-5-transcribe"_s), 0);
    EXPECT_EQ(indexOf(kProviderValues, u"GROQ"_s), 0);
}

TEST(SettingsTablesDeathTest, AnIndexOutsideTheTableStopsTheProgram)
{
    EXPECT_EQ(selectedEntry(kEngineValues, 2), u"local"_s);
    // The toolkit has threads of its own, so the dying process starts afresh.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(selectedEntry(kEngineValues, 3), "outside a table of 3 entries");
    EXPECT_DEATH(selectedEntry(kEngineValues, -1), "outside a table of 3 entries");
}

#include "ui/settings_tables.h"

#include "window_test_support.h"

using namespace tavlo;
using tavlo::test::InLanguage;

TEST(SettingsTables, ValuesStandInTheAgreedOrder)
{
    EXPECT_EQ(kLangValues, (std::array{QStringLiteral("nl"), QStringLiteral("en")}));
    EXPECT_EQ(kProviderValues, (std::array{QStringLiteral("openai"), QStringLiteral("groq")}));
    EXPECT_EQ(kModelValues, (std::array{QStringLiteral("gpt-4o-transcribe"), QStringLiteral("gpt-4o-mini-transcribe"),
                                        QStringLiteral("whisper-1")}));
    EXPECT_EQ(kGroqModels, (std::array{QStringLiteral("whisper-large-v3-turbo")}));
    EXPECT_EQ(kEngineValues, (std::array{QStringLiteral("auto"), QStringLiteral("openai"), QStringLiteral("local")}));
}

TEST(SettingsTables, TitlesInDutch)
{
    EXPECT_EQ(langTitles(), (QStringList{QStringLiteral("Nederlands"), QStringLiteral("English")}));
    EXPECT_EQ(providerTitles(), (QStringList{QStringLiteral("OpenAI"), QStringLiteral("Groq (voordeligste)")}));
    EXPECT_EQ(modelTitles(),
              (QStringList{QStringLiteral("gpt-4o-transcribe (beste)"),
                           QStringLiteral("gpt-4o-mini-transcribe (goedkoper)"), QStringLiteral("whisper-1")}));
    EXPECT_EQ(groqModelTitles(), QStringList{QStringLiteral("whisper-large-v3-turbo (snel & spotgoedkoop)")});
    EXPECT_EQ(engineTitles(), (QStringList{QStringLiteral("Automatisch (cloud, lokaal als reserve)"),
                                           QStringLiteral("Alleen cloud"), QStringLiteral("Alleen lokaal (gratis)")}));
}

TEST(SettingsTables, TitlesInEnglish)
{
    const InLanguage english(QStringLiteral("en"));
    EXPECT_EQ(langTitles(), (QStringList{QStringLiteral("Nederlands"), QStringLiteral("English")}));
    EXPECT_EQ(providerTitles(), (QStringList{QStringLiteral("OpenAI"), QStringLiteral("Groq (cheapest)")}));
    EXPECT_EQ(modelTitles(),
              (QStringList{QStringLiteral("gpt-4o-transcribe (best)"),
                           QStringLiteral("gpt-4o-mini-transcribe (cheaper)"), QStringLiteral("whisper-1")}));
    EXPECT_EQ(groqModelTitles(), QStringList{QStringLiteral("whisper-large-v3-turbo (fast & dirt cheap)")});
    EXPECT_EQ(engineTitles(), (QStringList{QStringLiteral("Automatic (cloud, local as backup)"),
                                           QStringLiteral("Cloud only"), QStringLiteral("Local only (free)")}));
}

TEST(SettingsTables, CostsFollowProviderAndModel)
{
    const auto sentence = [](const QString& cost) {
        return QStringLiteral("Kosten met eigen sleutel: ± ") + cost +
               QStringLiteral(" per uur spraak · lokale Whisper is altijd gratis");
    };
    EXPECT_EQ(costText(QStringLiteral("openai"), 0), sentence(QStringLiteral("$0,36 (≈ €0,33)")));
    EXPECT_EQ(costText(QStringLiteral("openai"), 1), sentence(QStringLiteral("$0,18 (≈ €0,17)")));
    EXPECT_EQ(costText(QStringLiteral("openai"), 2), sentence(QStringLiteral("$0,36 (≈ €0,33)")));
    EXPECT_EQ(costText(QStringLiteral("groq"), 0), sentence(QStringLiteral("$0,04 (≈ €0,04)")));
    EXPECT_EQ(costText(QStringLiteral("groq"), 1), sentence(QStringLiteral("$0,04 (≈ €0,04)")));
    const InLanguage english(QStringLiteral("en"));
    EXPECT_EQ(costText(QStringLiteral("openai"), 1),
              QStringLiteral("Cost with your own key: ~ $0,18 (≈ €0,17) per hour of speech · local Whisper is always "
                             "free"));
}

TEST(SettingsTables, HalvesRoundAwayFromZero)
{
    EXPECT_EQ(percentText(0.125), QStringLiteral("13%"));
    EXPECT_DOUBLE_EQ(storedVolume(0.125), 0.13);
    EXPECT_EQ(percentText(0.08), QStringLiteral("8%"));
    EXPECT_DOUBLE_EQ(storedVolume(0.0849), 0.08);
    EXPECT_EQ(percentText(0.0), QStringLiteral("0%"));
    EXPECT_EQ(percentText(0.3), QStringLiteral("30%"));
}

TEST(SettingsTables, AValueThatIsNotInTheTableSelectsTheFirst)
{
    EXPECT_EQ(indexOf(kModelValues, QStringLiteral("whisper-1")), 2);
    EXPECT_EQ(indexOf(kModelValues, QStringLiteral("gpt-5-transcribe")), 0);
    EXPECT_EQ(indexOf(kProviderValues, QStringLiteral("GROQ")), 0);
}

TEST(SettingsTablesDeathTest, AnIndexOutsideTheTableStopsTheProgram)
{
    EXPECT_EQ(selectedEntry(kEngineValues, 2), QStringLiteral("local"));
    // The toolkit has threads of its own, so the dying process starts afresh.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(selectedEntry(kEngineValues, 3), "outside a table of 3 entries");
    EXPECT_DEATH(selectedEntry(kEngineValues, -1), "outside a table of 3 entries");
}

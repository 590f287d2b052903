#include "settings/config.h"

#include "platform/text_literals.h"
#include "support/temporary_settings.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

namespace tavlo {
namespace {

class ConfigFileTest : public ::testing::Test, protected TemporarySettings {
protected:
    void storeKey(const QString& account, const QByteArray& key)
    {
        store.items.push_back({Keychain::service, account, key});
    }

    Config loaded(const QByteArray& text)
    {
        put(text);
        return file.load();
    }

    const QString m_openAI = u"openai_api_key"_s;
    const QString m_groq = u"groq_api_key"_s;
};

TEST_F(ConfigFileTest, WithoutAFileThereAreDefaultsAndNoKeyWhateverTheKeychainHolds)
{
    storeKey(m_openAI, "sk-stored");
    EXPECT_EQ(file.load(), Config());
    EXPECT_TRUE(file.load().apiKey.isEmpty());
    EXPECT_TRUE(store.askedFor.empty());
}

TEST_F(ConfigFileTest, TheDefaultsAreThoseOfTheTable)
{
    const Config config;
    EXPECT_EQ(config.engine, u"auto"_s);
    EXPECT_EQ(config.apiKey, QString());
    EXPECT_EQ(config.model, u"gpt-4o-transcribe"_s);
    EXPECT_EQ(config.language, u"nl"_s);
    EXPECT_EQ(config.vocabulary, QString());
    EXPECT_EQ(config.appLanguage, u"nl"_s);
    EXPECT_EQ(config.provider, u"openai"_s);
    EXPECT_EQ(config.groqModel, u"whisper-large-v3-turbo"_s);
    EXPECT_EQ(config.hotkey, u"rechter-command"_s);
    EXPECT_EQ(config.customKeycode, -1);
    EXPECT_EQ(config.customLabel, QString());
    EXPECT_FALSE(config.customIsModifier);
    EXPECT_TRUE(config.duckEnabled);
    EXPECT_EQ(config.duckVolume, 0.08);
    EXPECT_EQ(config.cloudModel(), u"gpt-4o-transcribe"_s);
    EXPECT_EQ(config.providerName(), u"OpenAI"_s);
}

class BrokenConfigFileTest : public ConfigFileTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(BrokenConfigFileTest, LoadsAsDefaultsAndIsReplacedByTheOneKeyThatAnUpdateWrites)
{
    storeKey(m_openAI, "sk-stored");
    EXPECT_EQ(loaded(GetParam()), Config());
    EXPECT_TRUE(store.askedFor.empty());
    file.update(u"hotkey"_s, u"fn"_s);
    EXPECT_EQ(object(), (QJsonObject{{u"hotkey"_s, u"fn"_s}}));
    EXPECT_TRUE(log.lines().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Files, BrokenConfigFileTest,
                         ::testing::Values("", "   ", "[1, 2]", "[{\"engine\": \"local\"}]", "\"engine\"", "null", "12",
                                           "{\"engine\": \"local\"", "{engine: local}", "{\"engine\": \"local\"} x",
                                           "{\"engine\": \"lo\xff\"}", "{\"duck_volume\": 1e999}"));

TEST_F(ConfigFileTest, EveryKeyFillsItsField)
{
    const Config config = loaded(R"({
        "engine": "local", "provider": "groq", "groq_model": "g", "openai_model": "o", "language": "de",
        "vocabulary": "Tavlo, ë", "app_language": "en", "hotkey": "custom", "custom_keycode": 96,
        "custom_label": "F5", "custom_is_modifier": true, "duck_enabled": false, "duck_volume": 0.25})");
    Config expected;
    expected.engine = u"local"_s;
    expected.provider = u"groq"_s;
    expected.groqModel = u"g"_s;
    expected.model = u"o"_s;
    expected.language = u"de"_s;
    expected.vocabulary = u"Tavlo, ë"_s;
    expected.appLanguage = u"en"_s;
    expected.hotkey = u"custom"_s;
    expected.customKeycode = 96;
    expected.customLabel = u"F5"_s;
    expected.customIsModifier = true;
    expected.duckEnabled = false;
    expected.duckVolume = 0.25;
    EXPECT_EQ(config, expected);
}

TEST_F(ConfigFileTest, AValueOfTheWrongTypeGivesTheDefault)
{
    const Config config = loaded(R"({
        "engine": 1, "provider": null, "groq_model": [], "openai_model": {}, "language": true, "vocabulary": 0,
        "app_language": ["en"], "hotkey": 54, "custom_keycode": "12", "custom_label": 5, "custom_is_modifier": 1,
        "duck_enabled": "false", "duck_volume": "0.5"})");
    EXPECT_EQ(config, Config());
}

TEST_F(ConfigFileTest, AKeyCodeAsTextGivesNone)
{
    EXPECT_EQ(loaded(R"({"custom_keycode": "12"})").customKeycode, -1);
}

TEST_F(ConfigFileTest, AKeyCodeIsAnyNumberWithAnExactIntegerValue)
{
    EXPECT_EQ(loaded(R"({"custom_keycode": 12.0})").customKeycode, 12);
    EXPECT_EQ(loaded(R"({"custom_keycode": 1.2e1})").customKeycode, 12);
    EXPECT_EQ(loaded(R"({"custom_keycode": -7})").customKeycode, -7);
    EXPECT_EQ(loaded(R"({"custom_keycode": 9223372036854775807})").customKeycode, 9223372036854775807);
    EXPECT_EQ(loaded(R"({"custom_keycode": 12.5})").customKeycode, -1);
    EXPECT_EQ(loaded(R"({"custom_keycode": 1e30})").customKeycode, -1);
    EXPECT_EQ(loaded(R"({"custom_keycode": true})").customKeycode, -1);
}

TEST_F(ConfigFileTest, AnIntegerNumberIsAcceptedAsTheDuckVolume)
{
    EXPECT_EQ(loaded(R"({"duck_volume": 1})").duckVolume, 1.0);
}

TEST_F(ConfigFileTest, DuckingAsTextStaysOn)
{
    EXPECT_TRUE(loaded(R"({"duck_enabled": "false"})").duckEnabled);
}

TEST_F(ConfigFileTest, ValuesAreTakenAsTheyStandWithoutRangeChecks)
{
    const Config config = loaded(R"({"engine": "", "provider": "x", "custom_keycode": 70000, "duck_volume": 7.5})");
    EXPECT_EQ(config.engine, QString());
    EXPECT_EQ(config.provider, u"x"_s);
    EXPECT_EQ(config.customKeycode, 70000);
    EXPECT_EQ(config.duckVolume, 7.5);
}

TEST_F(ConfigFileTest, GroqTakesItsKeyFromTheKeychain)
{
    storeKey(m_groq, "gsk-stored");
    const Config config = loaded(R"({"provider": "groq"})");
    EXPECT_EQ(config.apiKey, u"gsk-stored"_s);
    EXPECT_EQ(config.cloudModel(), u"whisper-large-v3-turbo"_s);
    EXPECT_EQ(config.providerName(), u"Groq"_s);
}

TEST_F(ConfigFileTest, TheFilesKeyIsNeverUsedForGroq)
{
    EXPECT_EQ(loaded(R"({"provider": "groq", "openai_api_key": "sk-x"})").apiKey, QString());
}

TEST_F(ConfigFileTest, TheFilesKeyIsTrimmedAndUsedWhenTheKeychainHasNone)
{
    EXPECT_EQ(loaded(R"({"openai_api_key": "  sk-x\n"})").apiKey, u"sk-x"_s);
}

TEST_F(ConfigFileTest, TheKeychainsKeyGoesBeforeTheFilesAndIsNotTrimmed)
{
    storeKey(m_openAI, " sk-stored \n");
    EXPECT_EQ(loaded(R"({"openai_api_key": "sk-x"})").apiKey, u" sk-stored \n"_s);
}

TEST_F(ConfigFileTest, AnUnknownProviderCountsAsOpenAIButItsOwnAccountIsAskedFor)
{
    const Config config = loaded(R"({"provider": "GROQ", "openai_api_key": "sk-x"})");
    EXPECT_EQ(config.cloudModel(), u"gpt-4o-transcribe"_s);
    EXPECT_EQ(config.providerName(), u"OpenAI"_s);
    EXPECT_EQ(store.askedFor, QStringList{u"GROQ_api_key"_s});
    EXPECT_EQ(config.apiKey, QString());
}

TEST_F(ConfigFileTest, LoadingWithoutTheKeyNeverAsksTheKeychain)
{
    storeKey(m_openAI, "sk-stored");
    put(R"({"engine": "local", "openai_api_key": "sk-x"})");
    const Config config = file.loadWithoutKey();
    EXPECT_EQ(config.engine, u"local"_s);
    EXPECT_EQ(config.apiKey, QString());
    EXPECT_EQ(store.calls, 0);
}

TEST_F(ConfigFileTest, OwnServersAreTakenAsTheyStandOfWhateverType)
{
    EXPECT_FALSE(loaded("{}").openaiBaseUrl.isValid());
    const Config config = loaded(R"({"openai_base_url": "https://a.example", "groq_base_url": 5})");
    EXPECT_EQ(config.openaiBaseUrl, QVariant(u"https://a.example"_s));
    EXPECT_EQ(config.groqBaseUrl.toInt(), 5);
    EXPECT_TRUE(loaded(R"({"openai_base_url": null})").openaiBaseUrl.isValid());
}

TEST_F(ConfigFileTest, TheTemplateHasItsElevenKeysSortedAndIndented)
{
    file.writeTemplateIfMissing();
    EXPECT_EQ(bytes(), QByteArray(R"({
    "app_language": "nl",
    "duck_enabled": true,
    "duck_volume": 0.08,
    "engine": "auto",
    "groq_model": "whisper-large-v3-turbo",
    "hotkey": "rechter-command",
    "language": "nl",
    "openai_api_key": "",
    "openai_model": "gpt-4o-transcribe",
    "provider": "openai",
    "vocabulary": "Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API"
}
)"));
}

TEST_F(ConfigFileTest, TheTemplateSeedsAVocabularyWhereAMissingKeyIsEmpty)
{
    file.writeTemplateIfMissing();
    Config expected;
    expected.vocabulary = u"Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API"_s;
    EXPECT_EQ(file.load(), expected);
}

TEST_F(ConfigFileTest, AnExistingFileIsNeverReplacedByTheTemplate)
{
    for (const QByteArray& text : {QByteArray(""), QByteArray("{broken"), QByteArray("{}")}) {
        put(text);
        file.writeTemplateIfMissing();
        EXPECT_EQ(bytes(), text);
    }
}

TEST_F(ConfigFileTest, AnUpdateKeepsEveryOtherKeyAsItStands)
{
    put(R"({"zz_own": {"list": [1, 2.5, null, "ë"]}, "big": 9007199254740993, "small": 0.08, "tiny": 1e-7, "engine": "auto"})");
    file.update(u"engine"_s, u"local"_s);
    EXPECT_EQ(bytes(), QByteArray(R"({
    "big": 9007199254740993,
    "engine": "local",
    "small": 0.08,
    "tiny": 1e-07,
    "zz_own": {
        "list": [
            1,
            2.5,
            null,
            "ë"
        ]
    }
}
)"));
}

TEST_F(ConfigFileTest, AnUpdateReplacesAnEarlierValueOfAnyType)
{
    put(R"({"duck_volume": {"left": 1}})");
    file.update(u"duck_volume"_s, 0.13);
    file.update(u"custom_keycode"_s, 96);
    file.update(u"duck_enabled"_s, false);
    EXPECT_EQ(file.load().duckVolume, 0.13);
    EXPECT_EQ(file.load().customKeycode, 96);
    EXPECT_FALSE(file.load().duckEnabled);
}

TEST_F(ConfigFileTest, AnotherProgramsChangeBetweenTwoUpdatesIsKept)
{
    file.update(u"engine"_s, u"local"_s);
    put(R"({"engine": "local", "language": "fr"})");
    file.update(u"provider"_s, u"groq"_s);
    EXPECT_EQ(file.load().language, u"fr"_s);
    EXPECT_EQ(file.load().engine, u"local"_s);
}

TEST_F(ConfigFileTest, AnUnreadablePlaceDropsEverythingSilently)
{
    ASSERT_TRUE(QDir().mkpath(file.path()));  // A folder stands in the file's place.
    file.writeTemplateIfMissing();
    file.update(u"engine"_s, u"local"_s);
    EXPECT_EQ(file.load(), Config());
    EXPECT_TRUE(QFileInfo(file.path()).isDir());

    ConfigFile missing(folder.filePath(u"none/config.json"_s), keychain, log);
    missing.writeTemplateIfMissing();
    missing.update(u"engine"_s, u"local"_s);
    EXPECT_EQ(missing.load(), Config());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(ConfigFileTest, APipeInTheFilesPlaceNeverHoldsUpTheCaller)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(file.path()).constData(), 0600), 0);
    EXPECT_EQ(file.load(), Config());
    file.update(u"engine"_s, u"local"_s);
    EXPECT_EQ(file.load(), Config());
}

// Moving the key from the file to the keychain.

TEST_F(ConfigFileTest, MigrationMovesTheTrimmedKeyAndSaysSoInTheLog)
{
    put(R"({"openai_api_key": "  sk-abc \n", "own": 1})");
    file.migrateToKeychain();
    EXPECT_EQ(keychain.get(m_openAI), u"sk-abc"_s);
    EXPECT_EQ(object().value(m_openAI), QJsonValue(QString()));
    EXPECT_EQ(object().value(u"own"_s), QJsonValue(1));
    EXPECT_EQ(log.lines(), QStringList{u"API-sleutel verplaatst naar de Sleutelhanger"_s});
}

TEST_F(ConfigFileTest, MigrationNeverOverwritesAnotherKeyOfTheKeychain)
{
    storeKey(m_openAI, "sk-old");
    const QByteArray text = R"({"openai_api_key": "sk-new"})";
    put(text);
    file.migrateToKeychain();
    EXPECT_EQ(keychain.get(m_openAI), u"sk-old"_s);
    EXPECT_EQ(bytes(), text);
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(file.load().apiKey, u"sk-old"_s);
}

TEST_F(ConfigFileTest, MigrationEmptiesTheFileWhenTheKeychainHoldsTheSameKey)
{
    storeKey(m_openAI, "sk-abc");
    put(R"({"openai_api_key": "sk-abc"})");
    file.migrateToKeychain();
    EXPECT_EQ(object().value(m_openAI), QJsonValue(QString()));
    EXPECT_EQ(store.items.size(), 1u);
    EXPECT_EQ(log.lines().size(), 1);
}

TEST_F(ConfigFileTest, MigrationLeavesTheFileAloneWhenTheKeyCannotBeStored)
{
    const QByteArray text = R"({"openai_api_key": "sk-abc"})";
    put(text);
    store.refusesToAdd = true;
    file.migrateToKeychain();
    EXPECT_EQ(bytes(), text);
    EXPECT_TRUE(log.lines().isEmpty());

    store.refusesToAdd = false;  // The next start tries again.
    file.migrateToKeychain();
    EXPECT_EQ(object().value(m_openAI), QJsonValue(QString()));
}

TEST_F(ConfigFileTest, MigrationNeverOverwritesAKeyOfAKeychainThatIsTooSlowToTellOfIt)
{
    storeKey(m_openAI, "sk-old");
    const QByteArray text = R"({"openai_api_key": "sk-new"})";
    put(text);
    store.isSlow = true;
    file.migrateToKeychain();
    store.isSlow = false;
    EXPECT_EQ(keychain.get(m_openAI), u"sk-old"_s);
    EXPECT_EQ(bytes(), text);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(ConfigFileTest, MigrationDoesNothingWithoutAKeyInTheFile)
{
    file.migrateToKeychain();
    EXPECT_FALSE(QFileInfo::exists(file.path()));
    for (const QByteArray& text :
         {QByteArray("{}"), QByteArray("[]"), QByteArray("{broken"), QByteArray(R"({"openai_api_key": " \n\t"})"),
          QByteArray(R"({"openai_api_key": 5})")}) {
        put(text);
        file.migrateToKeychain();
        EXPECT_EQ(bytes(), text);
    }
    EXPECT_EQ(store.calls, 0);
}

}  // namespace
}  // namespace tavlo

#pragma once

#include "platform/text_literals.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVariant>

#include <optional>

namespace tavlo {

// The keys of the settings file.
namespace setting {
inline const QString kEngine = u"engine"_s;
inline const QString kProvider = u"provider"_s;
inline const QString kGroqModel = u"groq_model"_s;
inline const QString kOpenAIKey = u"openai_api_key"_s;  // of older files; the key is in the keychain now
inline const QString kOpenAIModel = u"openai_model"_s;
inline const QString kLanguage = u"language"_s;
inline const QString kVocabulary = u"vocabulary"_s;
inline const QString kAppLanguage = u"app_language"_s;
inline const QString kHotkey = u"hotkey"_s;
inline const QString kCustomKeycode = u"custom_keycode"_s;
inline const QString kCustomLabel = u"custom_label"_s;
inline const QString kCustomIsModifier = u"custom_is_modifier"_s;
inline const QString kDuckEnabled = u"duck_enabled"_s;
inline const QString kDuckVolume = u"duck_volume"_s;
inline const QString kOpenAIBaseUrl = u"openai_base_url"_s;
inline const QString kGroqBaseUrl = u"groq_base_url"_s;
}  // namespace setting

// The values that have a meaning. They are texts, not enumerations: a value that somebody wrote into the file by hand
// is kept as it is, and each reader says what an unknown one means to it.
inline const QString kEngineAuto = u"auto"_s;
inline const QString kEngineCloud = u"openai"_s;  // the cloud only, whichever the provider
inline const QString kEngineLocal = u"local"_s;
inline const QString kProviderOpenAI = u"openai"_s;
inline const QString kProviderGroq = u"groq"_s;
inline const QString kDefaultOpenAIModel = u"gpt-4o-transcribe"_s;
inline const QString kDefaultGroqModel = u"whisper-large-v3-turbo"_s;
inline const QString kDutch = u"nl"_s;
inline const QString kEnglish = u"en"_s;
inline const QString kHotkeyRightCommand = u"rechter-command"_s;
inline const QString kHotkeyFn = u"fn"_s;
inline const QString kHotkeyCustom = u"custom"_s;  // the key that the user captured

// The user's settings, a plain value with the defaults of a missing key.
struct Config {
    QString engine = kEngineAuto;
    QString apiKey;  // of the selected provider; never in the file
    QString model = kDefaultOpenAIModel;
    QString language = kDutch;  // spoken, passed to the engines
    QString vocabulary;
    QString appLanguage = kDutch;  // of the interface
    QString provider = kProviderOpenAI;
    QString groqModel = kDefaultGroqModel;
    QString hotkey = kHotkeyRightCommand;
    qint64 customKeycode = -1;
    QString customLabel;
    bool customIsModifier = false;
    bool duckEnabled = true;
    double duckVolume = 0.08;
    // The user's own servers in place of the providers': the JSON value of `openai_base_url` and `groq_base_url` as
    // it stands in the file, of whatever type; invalid when the key is absent. The cloud client judges them.
    QVariant openaiBaseUrl;
    QVariant groqBaseUrl;

    bool isGroq() const { return provider == kProviderGroq; }
    QString cloudModel() const { return isGroq() ? groqModel : model; }
    QString providerName() const { return isGroq() ? u"Groq"_s : u"OpenAI"_s; }

    bool operator==(const Config&) const = default;
};

class AppLog;
class Keychain;

// The settings file: every reader loads a fresh copy, every writer changes one key. Nothing is cached and nothing
// here reports a failure: a missing or broken file reads as defaults, a failed write is dropped. Main thread.
class ConfigFile {
public:
    ConfigFile(QString path, Keychain& keychain, AppLog& log);

    // Begins to look for the key, so that a `load` within the next second waits less. Returns at once.
    void beginLoad() const;
    // Whether there is a file and it holds settings.
    bool isReadable() const;
    // The settings with the selected provider's API key.
    Config load() const;
    // The same without asking the keychain: `apiKey` is empty. For key events, which must not wait on a keyring.
    Config loadWithoutKey() const;
    // Replaces one key of the file and keeps all others; a damaged file is replaced by one with this key alone.
    void update(const QString& key, const QJsonValue& value);
    // Writes the template when there is no file, not even an empty or broken one.
    void writeTemplateIfMissing();
    // Moves an OpenAI key that the file holds in plain text to the keychain.
    void migrateToKeychain();

    const QString& path() const { return m_path; }

private:
    std::optional<QJsonObject> read() const;
    void write(const QJsonObject& object);

    QString m_path;
    Keychain& m_keychain;
    AppLog& m_log;
};

}  // namespace tavlo

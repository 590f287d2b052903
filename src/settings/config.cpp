#include "settings/config.h"

#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "settings/app_log.h"
#include "settings/keychain.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <utility>

namespace tavlo {

namespace {

// No settings file comes near this size; what is larger is something else.
constexpr qint64 kLargestFile = qint64{16} * 1024 * 1024;

// Each takes the key's value into the field when it is of the field's type.
void take(const QJsonObject& object, const QString& key, QString& field)
{
    const QJsonValue value = object.value(key);
    if (value.isString()) {
        field = value.toString();
    }
}

void take(const QJsonObject& object, const QString& key, bool& field)
{
    field = object.value(key).toBool(field);
}

void take(const QJsonObject& object, const QString& key, double& field)
{
    field = object.value(key).toDouble(field);
}

void take(const QJsonObject& object, const QString& key, qint64& field)
{
    // Takes numbers with an exact integer value only, 12.0 among them.
    field = object.value(key).toInteger(field);
}

void takeAnything(const QJsonObject& object, const QString& key, QVariant& field)
{
    const auto found = object.constFind(key);
    if (found != object.constEnd()) {
        field = found.value().toVariant();
    }
}

Config configFrom(const QJsonObject& object)
{
    Config config;
    take(object, setting::kEngine, config.engine);
    take(object, setting::kProvider, config.provider);
    take(object, setting::kGroqModel, config.groqModel);
    take(object, setting::kOpenAIModel, config.model);
    take(object, setting::kLanguage, config.language);
    take(object, setting::kVocabulary, config.vocabulary);
    take(object, setting::kAppLanguage, config.appLanguage);
    take(object, setting::kHotkey, config.hotkey);
    take(object, setting::kCustomKeycode, config.customKeycode);
    take(object, setting::kCustomLabel, config.customLabel);
    take(object, setting::kCustomIsModifier, config.customIsModifier);
    take(object, setting::kDuckEnabled, config.duckEnabled);
    take(object, setting::kDuckVolume, config.duckVolume);
    takeAnything(object, setting::kOpenAIBaseUrl, config.openaiBaseUrl);
    takeAnything(object, setting::kGroqBaseUrl, config.groqBaseUrl);
    return config;
}

// The key that an older settings file holds in plain text; empty when it holds none.
QString legacyKeyFrom(const QJsonObject& object)
{
    return object.value(setting::kOpenAIKey).toString().trimmed();
}

QJsonObject settingsTemplate()
{
    return {
        {setting::kAppLanguage, kDutch},
        {setting::kProvider, kProviderOpenAI},
        {setting::kGroqModel, kDefaultGroqModel},
        {setting::kEngine, kEngineAuto},
        {setting::kOpenAIKey, QString()},
        {setting::kOpenAIModel, kDefaultOpenAIModel},
        {setting::kLanguage, kDutch},
        {setting::kVocabulary, u"Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API"_s},
        {setting::kHotkey, kHotkeyRightCommand},
        {setting::kDuckEnabled, true},
        {setting::kDuckVolume, 0.08},
    };
}

}  // namespace

ConfigFile::ConfigFile(QString path, Keychain& keychain, AppLog& log)
    : m_path(std::move(path)), m_keychain(keychain), m_log(log)
{
}

Config ConfigFile::load() const
{
    const std::optional<QJsonObject> object = read();
    if (!object) {
        return {};  // Without a readable file there is no key either, whatever the keychain holds.
    }
    Config config = configFrom(*object);
    if (const auto stored = m_keychain.get(keyAccount(config.provider))) {
        config.apiKey = *stored;
    } else if (config.provider == kProviderOpenAI) {
        config.apiKey = legacyKeyFrom(*object);
    }
    return config;
}

bool ConfigFile::isReadable() const
{
    return read().has_value();
}

void ConfigFile::beginLoad() const
{
    if (const std::optional<QJsonObject> object = read()) {
        m_keychain.beginGet(keyAccount(configFrom(*object).provider));
    }
}

Config ConfigFile::loadWithoutKey() const
{
    const std::optional<QJsonObject> object = read();
    return object ? configFrom(*object) : Config();
}

void ConfigFile::update(const QString& key, const QJsonValue& value)
{
    QJsonObject object = read().value_or(QJsonObject());
    object.insert(key, value);
    write(object);
}

void ConfigFile::writeTemplateIfMissing()
{
    if (!QFileInfo::exists(m_path)) {
        write(settingsTemplate());
    }
}

void ConfigFile::migrateToKeychain()
{
    const std::optional<QJsonObject> object = read();
    const QString key = object ? legacyKeyFrom(*object) : QString();
    if (key.isEmpty()) {
        return;
    }
    // A keyring that is slow to answer may hold another key, which must not be replaced: the next start tries again.
    if (!m_keychain.get(setting::kOpenAIKey) && m_keychain.answeredLastGet()) {
        m_keychain.set(key, setting::kOpenAIKey);
    }
    // The file gives its key up only when the keychain is seen to hold the same one.
    if (m_keychain.get(setting::kOpenAIKey) == key) {
        update(setting::kOpenAIKey, QString());
        m_log.appLog(u"API-sleutel verplaatst naar de Sleutelhanger"_s);
    }
}

std::optional<QJsonObject> ConfigFile::read() const
{
    const std::optional<QByteArray> bytes = readFile(m_path, kLargestFile);
    if (!bytes) {
        return std::nullopt;
    }
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    if (!document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

void ConfigFile::write(const QJsonObject& object)
{
    // A failed write is dropped without a word; the old file stays as it was.
    static_cast<void>(writeTextInPlace(m_path, QJsonDocument(object).toJson(QJsonDocument::Indented)));
}

}  // namespace tavlo

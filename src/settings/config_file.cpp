#include "settings/config_file.h"

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

const QString kLegacyKey = u"openai_api_key"_s;

// Each takes the key's value into the field when it is of the field's type.
void take(const QJsonObject& object, QLatin1String key, QString& field)
{
    const QJsonValue value = object.value(key);
    if (value.isString()) {
        field = value.toString();
    }
}

void take(const QJsonObject& object, QLatin1String key, bool& field)
{
    field = object.value(key).toBool(field);
}

void take(const QJsonObject& object, QLatin1String key, double& field)
{
    field = object.value(key).toDouble(field);
}

void take(const QJsonObject& object, QLatin1String key, qint64& field)
{
    // Takes numbers with an exact integer value only, 12.0 among them.
    field = object.value(key).toInteger(field);
}

void takeAnything(const QJsonObject& object, QLatin1String key, QVariant& field)
{
    const auto found = object.constFind(key);
    if (found != object.constEnd()) {
        field = found.value().toVariant();
    }
}

Config configFrom(const QJsonObject& object)
{
    Config config;
    take(object, "engine"_L1, config.engine);
    take(object, "provider"_L1, config.provider);
    take(object, "groq_model"_L1, config.groqModel);
    take(object, "openai_model"_L1, config.model);
    take(object, "language"_L1, config.language);
    take(object, "vocabulary"_L1, config.vocabulary);
    take(object, "app_language"_L1, config.appLanguage);
    take(object, "hotkey"_L1, config.hotkey);
    take(object, "custom_keycode"_L1, config.customKeycode);
    take(object, "custom_label"_L1, config.customLabel);
    take(object, "custom_is_modifier"_L1, config.customIsModifier);
    take(object, "duck_enabled"_L1, config.duckEnabled);
    take(object, "duck_volume"_L1, config.duckVolume);
    takeAnything(object, "openai_base_url"_L1, config.openaiBaseUrl);
    takeAnything(object, "groq_base_url"_L1, config.groqBaseUrl);
    return config;
}

// The key that an older settings file holds in plain text; empty when it holds none.
QString legacyKeyFrom(const QJsonObject& object)
{
    return object.value(kLegacyKey).toString().trimmed();
}

QJsonObject settingsTemplate()
{
    return {
        {u"app_language"_s, u"nl"_s},
        {u"provider"_s, u"openai"_s},
        {u"groq_model"_s, u"whisper-large-v3-turbo"_s},
        {u"engine"_s, u"auto"_s},
        {kLegacyKey, QString()},
        {u"openai_model"_s, u"gpt-4o-transcribe"_s},
        {u"language"_s, u"nl"_s},
        {u"vocabulary"_s, u"Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API"_s},
        {u"hotkey"_s, u"rechter-command"_s},
        {u"duck_enabled"_s, true},
        {u"duck_volume"_s, 0.08},
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
    } else if (config.provider == "openai"_L1) {
        config.apiKey = legacyKeyFrom(*object);
    }
    return config;
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
    if (!m_keychain.get(kLegacyKey) && m_keychain.answeredLastGet()) {
        m_keychain.set(key, kLegacyKey);
    }
    // The file gives its key up only when the keychain is seen to hold the same one.
    if (m_keychain.get(kLegacyKey) == key) {
        update(kLegacyKey, QString());
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

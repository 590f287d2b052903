#include "settings/config_file.h"

#include "settings/app_log.h"
#include "settings/file_access.h"
#include "settings/keychain.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <utility>

namespace tavlo {

namespace {

// No settings file comes near this size; what is larger is something else.
constexpr qint64 kLargestFile = qint64{16} * 1024 * 1024;

const QString kLegacyKey = QStringLiteral("openai_api_key");

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
    take(object, QLatin1String("engine"), config.engine);
    take(object, QLatin1String("provider"), config.provider);
    take(object, QLatin1String("groq_model"), config.groqModel);
    take(object, QLatin1String("openai_model"), config.model);
    take(object, QLatin1String("language"), config.language);
    take(object, QLatin1String("vocabulary"), config.vocabulary);
    take(object, QLatin1String("app_language"), config.appLanguage);
    take(object, QLatin1String("hotkey"), config.hotkey);
    take(object, QLatin1String("custom_keycode"), config.customKeycode);
    take(object, QLatin1String("custom_label"), config.customLabel);
    take(object, QLatin1String("custom_is_modifier"), config.customIsModifier);
    take(object, QLatin1String("duck_enabled"), config.duckEnabled);
    take(object, QLatin1String("duck_volume"), config.duckVolume);
    takeAnything(object, QLatin1String("openai_base_url"), config.openaiBaseUrl);
    takeAnything(object, QLatin1String("groq_base_url"), config.groqBaseUrl);
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
        {QStringLiteral("app_language"), QStringLiteral("nl")},
        {QStringLiteral("provider"), QStringLiteral("openai")},
        {QStringLiteral("groq_model"), QStringLiteral("whisper-large-v3-turbo")},
        {QStringLiteral("engine"), QStringLiteral("auto")},
        {kLegacyKey, QString()},
        {QStringLiteral("openai_model"), QStringLiteral("gpt-4o-transcribe")},
        {QStringLiteral("language"), QStringLiteral("nl")},
        {QStringLiteral("vocabulary"),
         QStringLiteral("Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API")},
        {QStringLiteral("hotkey"), QStringLiteral("rechter-command")},
        {QStringLiteral("duck_enabled"), true},
        {QStringLiteral("duck_volume"), 0.08},
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
    } else if (config.provider == QLatin1String("openai")) {
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
        m_log.appLog(QStringLiteral("API-sleutel verplaatst naar de Sleutelhanger"));
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

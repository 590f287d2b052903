#pragma once

#include "settings/config.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

namespace tavlo {

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

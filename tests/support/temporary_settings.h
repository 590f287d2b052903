#pragma once

#include "platform/text_literals.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace tavlo {

// A settings file in a folder of its own, with a keychain in memory.
struct TemporarySettings {
    QTemporaryDir folder;
    ManualMainQueue queue;
    FakeSecretStore store{queue};
    Keychain keychain{store};
    MemoryLog log;
    ConfigFile file{folder.filePath(u"config.json"_s), keychain, log};

    void put(const QByteArray& text)
    {
        QFile target(file.path());
        if (!target.open(QIODevice::WriteOnly) || target.write(text) != text.size()) {
            qFatal("The test's settings file cannot be written.");
        }
    }

    // The file's bytes; none (a null array) where there is no file.
    QByteArray bytes() const
    {
        QFile source(file.path());
        return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
    }

    QJsonObject object() const { return QJsonDocument::fromJson(bytes()).object(); }
};

}  // namespace tavlo

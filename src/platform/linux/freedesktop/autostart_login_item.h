#pragma once

#include "platform/login_item.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace tavlo {

// Starting at login by an autostart entry of the desktop. The user's own entry goes before one that the system has;
// what the user changed in it is kept.
class AutostartLoginItem : public LoginItem {
public:
    // `configFolder` is the user's, `systemConfigFolders` the system's in order of weight; `program` is the absolute
    // path of what is to be started.
    AutostartLoginItem(const QString& configFolder, const QStringList& systemConfigFolders, QString program);
    // With the folders that the environment names.
    static AutostartLoginItem forProgram(const QString& program);

    bool isEnabled() override;
    // Takes back what switches an existing entry off, or writes a new entry.
    Result<void> enable() override;
    // Removes our own entry; an entry that the user has changed, or that the system has, is hidden.
    Result<void> disable() override;

private:
    QByteArray ownEntry() const;
    std::optional<QByteArray> systemEntry() const;
    Result<void> write(const QByteArray& text) const;

    QString m_path;
    QStringList m_systemPaths;
    QString m_program;
};

}  // namespace tavlo

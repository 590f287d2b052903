#pragma once

#include "platform/login_item.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tavlo {

// The text of a desktop entry file, changed line by line so that everything else stays as its author wrote it.
class DesktopEntry {
public:
    explicit DesktopEntry(const QByteArray& text);

    // Whether there is a group [Desktop Entry] at all.
    bool isValid() const { return m_groupStart >= 0; }
    // The value of a key of that group; a localised variant is a key of its own.
    std::optional<QByteArray> value(const QByteArray& key) const;
    void set(const QByteArray& key, const QByteArray& value);
    void remove(const QByteArray& key);
    QByteArray text() const { return m_lines.join('\n'); }

    // The value of Exec that starts `program`, an absolute path, whatever characters it has.
    static QByteArray execFor(const QString& program);

private:
    qsizetype lineOf(const QByteArray& key) const;

    QByteArrayList m_lines;
    qsizetype m_groupStart = -1;  // the line with the group's name; -1 without one
};

// Starting at login by an autostart entry of the desktop. The user's own entry takes precedence over the system's; what
// the user changed in it is kept.
class AutostartLoginItem : public LoginItem {
public:
    // `configFolder` is the user's; `systemConfigFolders` are the system's, the first taking precedence; `program` is
    // the absolute path of the program to start.
    AutostartLoginItem(const QString& configFolder, const QStringList& systemConfigFolders, QString program);
    // With the folders from the environment.
    static AutostartLoginItem forProgram(const QString& program);

    bool isEnabled() override;
    // Removes what disables an existing entry, or writes a new one.
    Result<void> enable() override;
    // Removes the entry that this program wrote; one that the user has changed, or the system's, is hidden instead.
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

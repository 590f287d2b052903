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
    // A key's value as it stands in that group, without localised variants.
    std::optional<QByteArray> value(const QByteArray& key) const;
    void set(const QByteArray& key, const QByteArray& value);
    void remove(const QByteArray& key);
    QByteArray text() const { return m_lines.join('\n'); }

    // The value of Exec that starts `program`, an absolute path, whatever characters it has.
    static QByteArray execFor(const QString& program);

private:
    qsizetype lineOf(const QByteArray& key) const;

    QByteArrayList m_lines;
    qsizetype m_groupStart = -1;  // The line with the group's name.
};

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

#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

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

}  // namespace tavlo

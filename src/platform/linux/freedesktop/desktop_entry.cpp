#include "platform/linux/freedesktop/desktop_entry.h"

#include <QFile>

namespace tavlo {

DesktopEntry::DesktopEntry(const QByteArray& text) : m_lines(text.split('\n'))
{
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        if (m_lines[i].trimmed() == "[Desktop Entry]") {
            m_groupStart = i;
            return;
        }
    }
}

qsizetype DesktopEntry::lineOf(const QByteArray& key) const
{
    for (qsizetype i = m_groupStart + 1; m_groupStart >= 0 && i < m_lines.size(); ++i) {
        const QByteArray line = m_lines[i].trimmed();
        if (line.startsWith('[')) {
            break;
        }
        const qsizetype equals = line.indexOf('=');
        if (equals > 0 && line.left(equals).trimmed() == key) {
            return i;
        }
    }
    return -1;
}

std::optional<QByteArray> DesktopEntry::value(const QByteArray& key) const
{
    const qsizetype line = lineOf(key);
    if (line < 0) {
        return std::nullopt;
    }
    return m_lines[line].mid(m_lines[line].indexOf('=') + 1).trimmed();
}

void DesktopEntry::set(const QByteArray& key, const QByteArray& value)
{
    const QByteArray text = key + '=' + value;
    const qsizetype line = lineOf(key);
    if (line >= 0) {
        m_lines[line] = text;
    } else {
        m_lines.insert(m_groupStart + 1, text);
    }
}

void DesktopEntry::remove(const QByteArray& key)
{
    for (qsizetype line = lineOf(key); line >= 0; line = lineOf(key)) {
        m_lines.removeAt(line);
    }
}

QByteArray DesktopEntry::execFor(const QString& program)
{
    // First the rules of Exec: quotes around reserved characters, a backslash before those that keep their meaning
    // within quotes, and a doubled percent sign.
    const QByteArray path = QFile::encodeName(program);
    QByteArray exec;
    bool needsQuotes = false;
    for (const char character : path) {
        needsQuotes = needsQuotes || QByteArray(" \t\n\"'\\><~|&;$*?#()`").contains(character);
        if (QByteArray("\"`$\\").contains(character)) {
            exec += '\\';
        } else if (character == '%') {
            exec += '%';
        }
        exec += character;
    }
    if (needsQuotes) {
        exec = '"' + exec + '"';
    }
    // Then the rules of any text value.
    return exec.replace("\\", "\\\\").replace("\n", "\\n").replace("\t", "\\t").replace("\r", "\\r");
}

}  // namespace tavlo

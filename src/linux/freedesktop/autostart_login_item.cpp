#include "linux/freedesktop/autostart_login_item.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <filesystem>
#include <system_error>
#include <utility>

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

namespace {

const QString kFileInConfigFolder = u"/autostart/nl.pelloquintar.tavlo.desktop"_s;
const QByteArray kHidden = "Hidden";
const QByteArray kEnabledForGnome = "X-GNOME-Autostart-enabled";

std::optional<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return file.readAll();
}

bool startsSomething(const DesktopEntry& entry)
{
    return entry.isValid() && !entry.value("Exec").value_or(QByteArray()).isEmpty();
}

bool isOn(const DesktopEntry& entry)
{
    return startsSomething(entry) && entry.value(kHidden) != QByteArray("true") &&
           entry.value(kEnabledForGnome) != QByteArray("false");
}

Result<void> systemFailure(const QString& path, const std::error_code& error)
{
    const Error system = systemError(error.value());
    return failure(system.code, path + u": "_s + system.description, system.domain);
}

}  // namespace

AutostartLoginItem::AutostartLoginItem(const QString& configFolder, const QStringList& systemConfigFolders,
                                       QString program)
    : m_path(configFolder + kFileInConfigFolder), m_program(std::move(program))
{
    for (const QString& folder : systemConfigFolders) {
        m_systemPaths.append(folder + kFileInConfigFolder);
    }
}

AutostartLoginItem AutostartLoginItem::forProgram(const QString& program)
{
    QString configFolder = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    if (!QDir::isAbsolutePath(configFolder)) {
        configFolder = QDir::homePath() + u"/.config"_s;
    }
    QStringList systemFolders;
    for (const QString& folder : QFile::decodeName(qgetenv("XDG_CONFIG_DIRS")).split(QLatin1Char(':'))) {
        if (QDir::isAbsolutePath(folder)) {
            systemFolders.append(folder);
        }
    }
    if (systemFolders.isEmpty()) {
        systemFolders.append(u"/etc/xdg"_s);
    }
    return {configFolder, systemFolders, program};
}

bool AutostartLoginItem::isEnabled()
{
    if (const auto own = contentOf(m_path)) {
        return isOn(DesktopEntry(*own));
    }
    const auto system = systemEntry();
    return system && isOn(DesktopEntry(*system));
}

Result<void> AutostartLoginItem::enable()
{
    const auto own = contentOf(m_path);
    if (!own) {
        return isEnabled() ? Result<void>() : write(ownEntry());
    }
    DesktopEntry entry(*own);
    if (!startsSomething(entry)) {
        return write(ownEntry());
    }
    entry.remove(kHidden);
    entry.remove(kEnabledForGnome);
    return entry.text() == *own ? Result<void>() : write(entry.text());
}

Result<void> AutostartLoginItem::disable()
{
    const auto own = contentOf(m_path);
    const auto system = systemEntry();
    const bool systemStartsIt = system && isOn(DesktopEntry(*system));
    if (own == ownEntry() && !systemStartsIt) {
        std::error_code error;
        std::filesystem::remove(QFile::encodeName(m_path).toStdString(), error);
        return error ? systemFailure(m_path, error) : Result<void>();
    }
    if (!own && !systemStartsIt) {
        return {};
    }
    DesktopEntry entry(own.value_or(ownEntry()));
    if (!entry.isValid()) {
        return {};  // Nothing that any desktop would start.
    }
    entry.remove(kHidden);
    entry.set(kHidden, "true");
    return write(entry.text());
}

QByteArray AutostartLoginItem::ownEntry() const
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tavlo\n"
           "Comment=Dictation for the desktop\n"
           "Comment[nl]=Dicteren op het bureaublad\n"
           "Icon=nl.pelloquintar.tavlo\n"
           "Exec=" +
           DesktopEntry::execFor(m_program) +
           "\n"
           "Terminal=false\n"
           "StartupNotify=false\n";
}

std::optional<QByteArray> AutostartLoginItem::systemEntry() const
{
    for (const QString& path : m_systemPaths) {
        if (auto content = contentOf(path)) {
            return content;
        }
    }
    return std::nullopt;
}

Result<void> AutostartLoginItem::write(const QByteArray& text) const
{
    const QString folder = QFileInfo(m_path).path();
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), error);
    if (error) {
        return systemFailure(folder, error);
    }
    // Written beside and renamed, so that a full disk leaves the old entry; a link's target is what is replaced.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        return failure(kNoCode, m_path + u": "_s + file.errorString());
    }
    return {};
}

}  // namespace tavlo

#include "platform/linux/freedesktop/autostart_login_item.h"

#include "platform/linux/freedesktop/desktop_entry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <filesystem>
#include <system_error>
#include <utility>

namespace tavlo {

namespace {

const QString kFileInConfigFolder = QStringLiteral("/autostart/nl.pelloquintar.tavlo.desktop");
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
    return failure(error.value(), path + QStringLiteral(": ") + QString::fromStdString(error.message()),
                   QStringLiteral("POSIX"));
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
        configFolder = QDir::homePath() + QStringLiteral("/.config");
    }
    QStringList systemFolders;
    for (const QString& folder : QFile::decodeName(qgetenv("XDG_CONFIG_DIRS")).split(QLatin1Char(':'))) {
        if (QDir::isAbsolutePath(folder)) {
            systemFolders.append(folder);
        }
    }
    if (systemFolders.isEmpty()) {
        systemFolders.append(QStringLiteral("/etc/xdg"));
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
        return failure(static_cast<int>(file.error()), m_path + QStringLiteral(": ") + file.errorString(),
                       QStringLiteral("QFileDevice"));
    }
    return {};
}

}  // namespace tavlo

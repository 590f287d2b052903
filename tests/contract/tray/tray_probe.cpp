// Shows the status item and the overlays on a real desktop as told on standard input, one command a line, and tells on
// standard output what happened: "done" after each command, "tray yes|no", and "chosen <action> <value>".

#include "platform/linux/panel/linux_panel_appearance.h"
#include "platform/linux/panel/linux_tray_host.h"
#include "platform/linux/qt/qt_main_queue.h"
#include "platform/linux/x11/x11_display.h"
#include "platform/linux/x11/x11_screens.h"
#include "settings/language.h"
#include "ui/message_hud.h"
#include "ui/recording_hud.h"
#include "ui/status_menu.h"
#include "ui/tray_status_item.h"

#include <QApplication>
#include <QPalette>
#include <QSocketNotifier>
#include <QTextStream>

#include <unistd.h>
#include <functional>
#include <map>

namespace tavlo {
namespace {

void tell(const QString& line)
{
    QTextStream(stdout) << line << Qt::endl;
}

class Probe {
public:
    Probe()
    {
        m_state.hotkey = kHotkeyOptions[0];
        m_item.setMenu(statusMenu(m_state));
        QObject::connect(&m_input, &QSocketNotifier::activated, &m_input, [this] { read(); });
    }

private:
    using Command = std::function<void(const QString& argument)>;

    void read()
    {
        char buffer[4096];
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count <= 0) {
            QCoreApplication::quit();
            return;
        }
        m_pending.append(buffer, count);
        for (qsizetype end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
            const QString line = QString::fromUtf8(m_pending.left(end));
            m_pending.remove(0, end + 1);
            obey(line.section(QLatin1Char(' '), 0, 0), line.section(QLatin1Char(' '), 1));
        }
    }

    void obey(const QString& name, const QString& argument)
    {
        const auto command = m_commands.find(name);
        if (command == m_commands.end()) {
            tell(QStringLiteral("unknown ") + name);
            return;
        }
        command->second(argument);
        tell(QStringLiteral("done"));
    }

    // A command that changes the menu's state.
    Command menu(std::function<void(const QString& argument)> change)
    {
        return [this, change = std::move(change)](const QString& argument) {
            change(argument);
            m_item.setMenu(statusMenu(m_state));
        };
    }

    static void setDarkPalette()
    {
        QPalette palette;
        palette.setColor(QPalette::Window, QColor(30, 30, 30));
        palette.setColor(QPalette::WindowText, Qt::white);
        QApplication::setPalette(palette);
    }

    QtMainQueue m_queue;
    X11Display m_display;
    X11Screens m_screens{m_display};
    LinuxTrayHost m_host{QDBusConnection::sessionBus()};
    LinuxPanelAppearance m_appearance{QDBusConnection::sessionBus(), qEnvironmentVariable("XDG_CURRENT_DESKTOP")};
    TrayStatusItem m_item{
        m_queue, m_host, m_appearance,
        [](MenuAction action, const QVariant& object) {
            tell(QStringLiteral("chosen %1 %2").arg(static_cast<int>(action)).arg(object.toString()));
        },
        [](bool available) { tell(available ? QStringLiteral("tray yes") : QStringLiteral("tray no")); }};
    RecordingHUD m_recording{m_screens};
    MessageHUD m_message{m_queue, m_screens};
    MenuState m_state;
    QSocketNotifier m_input{STDIN_FILENO, QSocketNotifier::Read};
    QByteArray m_pending;

    const std::map<QString, Command> m_commands{
        {QStringLiteral("icon"), [this](const QString& state) { m_item.setIcon(state); }},
        {QStringLiteral("status"), menu([this](const QString& text) { m_state.statusLine = text; })},
        {QStringLiteral("last"), menu([this](const QString& text) { m_state.lastText = text; })},
        {QStringLiteral("language"), menu([](const QString& language) { gLang = language; })},
        {QStringLiteral("recording"), menu([this](const QString& text) { m_state.recording = !text.isEmpty(); })},
        {QStringLiteral("duck"), menu([this](const QString& text) { m_state.config.duckEnabled = !text.isEmpty(); })},
        {QStringLiteral("custom"), menu([this](const QString& label) {
             m_state.config.customLabel = label;
             m_state.config.customKeycode = label.isEmpty() ? -1 : 96;
         })},
        {QStringLiteral("show-recording"), [this](const QString&) { m_recording.show(); }},
        {QStringLiteral("hide-recording"), [this](const QString&) { m_recording.hide(); }},
        {QStringLiteral("push"), [this](const QString& level) { m_recording.push(level.toFloat()); }},
        {QStringLiteral("message"), [this](const QString& text) { m_message.show(text, std::nullopt); }},
        {QStringLiteral("short-message"), [this](const QString& text) { m_message.show(text, 4); }},
        {QStringLiteral("hide-message"), [this](const QString&) { m_message.hide(); }},
        {QStringLiteral("font"), [](const QString& family) { QApplication::setFont(QFont(family)); }},
        {QStringLiteral("dark-palette"), [](const QString&) { setDarkPalette(); }},
        {QStringLiteral("light-palette"), [](const QString&) { QApplication::setPalette(QPalette()); }},
    };
};

}  // namespace
}  // namespace tavlo

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tavlo"));
    QApplication::setQuitOnLastWindowClosed(false);
    const tavlo::Probe probe;
    return QApplication::exec();
}

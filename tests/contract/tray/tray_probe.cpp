// Shows the status item and the overlays on a real desktop as told on standard input, one command a line, and tells on
// standard output what happened: "done" after each command, "tray yes|no", and "chosen <action> <value>".

#include "linux/panel/linux_panel_appearance.h"
#include "linux/panel/linux_tray_host.h"
#include "linux/qt/qt_queues.h"
#include "linux/x11/x11_display.h"
#include "linux/x11/x11_screens.h"
#include "platform/text_literals.h"
#include "settings/language.h"
#include "ui/overlays/message_hud.h"
#include "ui/overlays/recording_hud.h"
#include "ui/tray/status_menu.h"
#include "ui/tray/tray_status_item.h"

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

// By the name of the icon's shape.
const std::map<QString, Activity> kActivities{{u"mic"_s, Activity::Ready},
                                              {u"waveform"_s, Activity::Recording},
                                              {u"hourglass"_s, Activity::Transcribing},
                                              {u"keyboard"_s, Activity::Capturing}};

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
            tell(u"unknown "_s + name);
            return;
        }
        command->second(argument);
        tell(u"done"_s);
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
    TrayStatusItem m_item{m_queue, m_host, m_appearance};
    Registration m_appearing = m_item.appear(
        {[](MenuAction action, const QVariant& object) {
             tell(u"chosen %1 %2"_s.arg(static_cast<int>(action)).arg(object.toString()));
         },
         [](TrayPresence presence) { tell(presence == TrayPresence::Present ? u"tray yes"_s : u"tray no"_s); }});
    RecordingHUD m_recording{m_screens};
    MessageHUD m_message{m_queue, m_screens};
    MenuState m_state;
    QSocketNotifier m_input{STDIN_FILENO, QSocketNotifier::Read};
    QByteArray m_pending;

    const std::map<QString, Command> m_commands{
        {u"icon"_s, [this](const QString& name) { m_item.setIcon(kActivities.at(name)); }},
        {u"status"_s, menu([this](const QString& text) { m_state.statusLine = text; })},
        {u"last"_s, menu([this](const QString& text) { m_state.lastText = text; })},
        {u"language"_s, menu([](const QString& language) { gLang = language; })},
        {u"recording"_s, menu([this](const QString& text) { m_state.recording = !text.isEmpty(); })},
        {u"duck"_s, menu([this](const QString& text) { m_state.config.duckEnabled = !text.isEmpty(); })},
        {u"custom"_s, menu([this](const QString& label) {
             m_state.config.customLabel = label;
             m_state.config.customKeycode = label.isEmpty() ? -1 : 96;
         })},
        {u"show-recording"_s, [this](const QString&) { m_recording.show(); }},
        {u"hide-recording"_s, [this](const QString&) { m_recording.hide(); }},
        {u"push"_s, [this](const QString& level) { m_recording.push(level.toFloat()); }},
        {u"message"_s, [this](const QString& text) { m_message.show(text, std::nullopt); }},
        {u"short-message"_s, [this](const QString& text) { m_message.show(text, 4); }},
        {u"hide-message"_s, [this](const QString&) { m_message.hide(); }},
        {u"font"_s, [](const QString& family) { QApplication::setFont(QFont(family)); }},
        {u"dark-palette"_s, [](const QString&) { setDarkPalette(); }},
        {u"light-palette"_s, [](const QString&) { QApplication::setPalette(QPalette()); }},
    };
};

}  // namespace
}  // namespace tavlo

int main(int argc, char** argv)
{
    using namespace tavlo;
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"tavlo"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    const tavlo::Probe probe;
    return QApplication::exec();
}

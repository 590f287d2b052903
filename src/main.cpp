#include "app/app_delegate.h"
#include "engines/cloud/cloud_client.h"
#include "engines/local/local_runner.h"
#include "engines/model/model_downloader.h"
#include "http/network_thread.h"
#include "linux/freedesktop/autostart_login_item.h"
#include "linux/freedesktop/bus_notification.h"
#include "linux/freedesktop/process_end.h"
#include "linux/freedesktop/session_bus_address.h"
#include "linux/freedesktop/session_bus_control.h"
#include "linux/panel/linux_panel_appearance.h"
#include "linux/panel/linux_tray_host.h"
#include "linux/pulse/pulse_audio_input.h"
#include "linux/pulse/pulse_connection.h"
#include "linux/pulse/pulse_output_volume.h"
#include "linux/pulse/pulse_sound_player.h"
#include "linux/qt/local_key_filter.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/qt/qt_queues.h"
#include "linux/qt/qt_workspace.h"
#include "linux/qt/session_restart.h"
#include "linux/secretservice/secret_service_store.h"
#include "linux/x11/x11_desktop.h"
#include "platform/text_literals.h"
#include "settings/config_file.h"
#include "settings/file_log.h"
#include "settings/keychain.h"
#include "settings/locations.h"
#include "ui/overlays/message_hud.h"
#include "ui/overlays/recording_hud.h"
#include "ui/tray/tray_status_item.h"
#include "ui/windows/desktop_windows.h"
#include "ui/windows/offer_window.h"

#include <QApplication>
#include <QDBusConnection>

#include <cstdlib>
#include <optional>

namespace tavlo {
namespace {

const QString kVersion = QStringLiteral(TAVLO_VERSION);

int run(QApplication& application)
{
    const Locations locations = Locations::forThisProcess();
    FileLog log(locations.kLogURL);
    QtMainQueue queue;
    SecretServiceStore secrets(queue, Keychain::service);
    secrets.connect();  // the menu asks for a key: the first connection is made beside what comes until then

    // Whatever is called back below comes from the event loop, by when the application object is there.
    std::optional<AppDelegate> delegate;
    SessionBusControl control(queue, kVersion);
    const ClaimResult claim = control.claim();
    if (claim == ClaimResult::AlreadyRunning) {
        return 0;
    }

    // The queue waits for its tasks at the end, so what they use stands before it.
    LocalRunner local(locations, log);
    QtBackgroundQueue background;

    PulseConnection sound;
    PulseAudioInput audioInput(sound, queue);
    PulseOutputVolume outputVolume(sound, queue);
    PulseSoundPlayer sounds(sound);
    Keychain keychain(secrets);
    ConfigFile file(locations.kConfigURL, keychain, log);
    QtPasteboard pasteboard;
    QtWorkspace workspace;
    AutostartLoginItem loginItem = AutostartLoginItem::forProgram(QCoreApplication::applicationFilePath());
    X11Desktop desktop(pasteboard);
    const QDBusConnection sessionBus = QDBusConnection::sessionBus();
    BusNotification notification(control, sessionBus);

    CloudClient cloud;
    ModelDownloader downloader(locations, log, queue, kModelRemoteURL);
    OfferWindow offer(downloader, desktop.screens, queue);
    RecordingHUD hud(desktop.screens);
    MessageHUD msgHud(queue, desktop.screens);

    LinuxTrayHost trayHost(sessionBus);
    LinuxPanelAppearance panelAppearance(sessionBus, qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    control.onReturn([&trayHost, &panelAppearance](const QDBusConnection& bus) {
        trayHost.moveTo(bus);
        panelAppearance.moveTo(bus);
    });
    // Not destroyed: when a panel asks the toolkit's icon something while it is taken off the bus, the bus library's
    // thread can reach a connection that is gone. The icon leaves the panel with the process.
    auto& statusItem = *new TrayStatusItem(queue, trayHost, panelAppearance);
    DesktopWindows windows({file, keychain, secrets, log, workspace, desktop.screens}, kVersion);
    delegate.emplace(AppParts{
        .locations = locations,
        .queue = queue,
        .background = background,
        .audioInput = audioInput,
        .outputVolume = outputVolume,
        .sounds = sounds,
        .secrets = secrets,
        .keyboard = desktop.keyboardMonitor,
        .pasteboard = pasteboard,
        .keystroke = desktop.pasteKeystroke,
        .loginItem = loginItem,
        .workspace = workspace,
        .cloud = cloud,
        .local = local,
        .offer = offer,
        .statusItem = statusItem,
        .hud = hud,
        .msgHud = msgHud,
        .windows = windows,
        .notification = notification,
        .control = control,
        .file = file,
        .log = log,
    });
    LocalKeyFilter localKeys(desktop.keyboardMonitor, [&delegate] { return delegate->state().capturing; });
    const auto terminate = [&delegate, &outputVolume, &local] {
        delegate->applicationWillTerminate();
        outputVolume.flush();
        local.stop();
    };
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &application, terminate);
    // An X server that goes takes the process along without a word to the event loop.
    const ProcessExit processExit(terminate);
    const TerminationSignals signals([] { QCoreApplication::quit(); });
    delegate->applicationDidFinishLaunching();
    if (claim == ClaimResult::NoBus) {
        // Not before: at the very first start the launch makes the folder in which the log stands.
        log.appLog(u"Geen sessiebus: Tavlo draait zonder besturing van buitenaf"_s);
    }
    const int result = application.exec();
    // It still closes the microphone when a recording runs: while there is one to close.
    delegate.reset();
    return result;
}

}  // namespace
}  // namespace tavlo

int main(int argc, char** argv)
{
    using namespace tavlo;
    // Tavlo takes no options: the toolkit is not to take any either.
    argc = 1;
    keepLibrariesFromStartingABus();
    int result = 0;
    {
        QApplication application(argc, argv);
        // Not as the display name, which the toolkit would add to the windows' titles.
        QApplication::setApplicationName(u"Tavlo"_s);
        QApplication::setDesktopFileName(u"nl.pelloquintar.tavlo"_s);
        QApplication::setQuitOnLastWindowClosed(false);
        declineSessionRestart(application);
        result = run(application);
    }
    // A thread that still runs, the bus library's or a network thread that a dead disk holds up, must not find that
    // what is static has been destroyed.
    std::_Exit(result);
}

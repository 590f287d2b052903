#include "app/application.h"

#include "engines/local/local_runner.h"
#include "platform/desktop.h"
#include "settings/app_log.h"
#include "settings/locations.h"
#include "ui/tray/tray_status_item.h"

#include <QFileInfo>

#include <vector>

namespace tavlo {

namespace {

// The icon is never destroyed: when a panel asks the toolkit's icon something while it is taken off the bus, the bus
// library's thread can reach a connection that is gone. It leaves the panel with the process. Until then something
// refers to it, so that whoever looks for leaks finds none.
TrayStatusItem& keptForLife(TrayStatusItem* item)
{
    static auto* const kept = new std::vector<TrayStatusItem*>;
    kept->push_back(item);
    return *item;
}

}  // namespace

Application::Application(const Locations& locations, AppLog& log, LocalRunner& local, const Ports& ports,
                         const QString& version)
    : m_log(log),
      m_local(local),
      m_outputVolume(ports.outputVolume),
      m_keychain(ports.secrets),
      m_file(locations.kConfigURL, m_keychain, log),
      m_downloader(locations, log, ports.queue, kModelRemoteURL),
      m_offer(m_downloader, ports.desktop.screens(), ports.queue),
      m_hud(ports.desktop.screens()),
      m_msgHud(ports.queue, ports.desktop.screens()),
      m_statusItem(keptForLife(new TrayStatusItem(ports.queue, ports.trayHost, ports.panelAppearance))),
      m_windows({m_file, m_keychain, ports.secrets, log, ports.workspace, ports.desktop.screens()}, version),
      m_delegate({
          .locations = locations,
          .queue = ports.queue,
          .background = ports.background,
          .audioInput = ports.audioInput,
          .outputVolume = ports.outputVolume,
          .sounds = ports.sounds,
          .secrets = ports.secrets,
          .keyboard = ports.desktop.keys(),
          .pasteboard = ports.desktop.pasteboard(),
          .keystroke = ports.desktop.keystroke(),
          .loginItem = ports.loginItem,
          .workspace = ports.workspace,
          .cloud = m_cloud,
          .local = local,
          .offer = m_offer,
          .statusItem = m_statusItem,
          .hud = m_hud,
          .msgHud = m_msgHud,
          .windows = m_windows,
          .notification = ports.notification,
          .control = ports.control,
          .file = m_file,
          .log = log,
      })
{
}

Application::~Application() = default;

void Application::launch(const QStringList& notices)
{
    m_delegate.applicationDidFinishLaunching();
    watchSettingsFile();
    for (const QString& notice : notices) {
        m_log.appLog(notice);
    }
}

void Application::watchSettingsFile()
{
    const QString path = m_file.path();
    // A file that was replaced is watched no longer. The watcher complains aloud about one that cannot be read.
    const auto watchFile = [this, path] {
        if (QFileInfo(path).isReadable()) {
            m_settingsWatcher.addPath(path);
        }
    };
    const auto changed = [this, watchFile] {
        watchFile();
        m_delegate.settingsFileChanged();
    };
    QObject::connect(&m_settingsWatcher, &QFileSystemWatcher::fileChanged, &m_settingsWatcher, changed);
    QObject::connect(&m_settingsWatcher, &QFileSystemWatcher::directoryChanged, &m_settingsWatcher, changed);
    m_settingsWatcher.addPath(QFileInfo(path).path());
    watchFile();
}

void Application::terminate()
{
    m_delegate.applicationWillTerminate();
    m_outputVolume.flush();
    m_local.stop();
}

}  // namespace tavlo

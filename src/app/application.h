#pragma once

#include "app/app_delegate.h"
#include "engines/cloud/cloud_client.h"
#include "engines/model/model_downloader.h"
#include "platform/ports.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "ui/overlays/message_hud.h"
#include "ui/overlays/recording_hud.h"
#include "ui/windows/desktop_windows.h"
#include "ui/windows/offer_window.h"

#include <QFileSystemWatcher>

namespace tavlo {

class LocalRunner;
class TrayStatusItem;

// The program on its ports: makes the rooms' own objects and joins them to the application object. Main thread.
class Application {
public:
    // All of it outlives the application; `local` also the tasks of the background queue, which run it.
    Application(const Locations& locations, AppLog& log, LocalRunner& local, const Ports& ports,
                const QString& version);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // `notices` are written to the log once there is a place for it: the very first launch makes the folder.
    void launch(const QStringList& notices);
    // Leaves the desktop as it was found: the volume restored, no engine running. May be called more than once.
    void terminate();
    bool isCapturing() const { return m_delegate.state().capturing; }

private:
    void watchSettingsFile();

    AppLog& m_log;
    LocalRunner& m_local;
    OutputVolume& m_outputVolume;
    Keychain m_keychain;
    ConfigFile m_file;
    CloudClient m_cloud;
    ModelDownloader m_downloader;
    OfferWindow m_offer;
    RecordingHUD m_hud;
    MessageHUD m_msgHud;
    TrayStatusItem& m_statusItem;
    DesktopWindows m_windows;
    AppDelegate m_delegate;
    QFileSystemWatcher m_settingsWatcher;
};

}  // namespace tavlo

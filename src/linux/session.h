#pragma once

#include "linux/freedesktop/autostart_login_item.h"
#include "linux/freedesktop/bus_notification.h"
#include "linux/freedesktop/session_bus_control.h"
#include "linux/panel/linux_panel_appearance.h"
#include "linux/panel/linux_tray_host.h"
#include "linux/pulse/pulse_audio_input.h"
#include "linux/pulse/pulse_connection.h"
#include "linux/pulse/pulse_output_volume.h"
#include "linux/pulse/pulse_sound_player.h"
#include "linux/qt/qt_queues.h"
#include "linux/qt/qt_workspace.h"
#include "linux/secretservice/secret_service_store.h"
#include "platform/desktop.h"
#include "platform/ports.h"

#include <memory>

class QGuiApplication;

namespace tavlo {

// What every Linux session needs first: the main queue, the keyring, and the one instance's name on the session bus.
struct LinuxSessionStart {
    // `keyringService` is the service of the keyring's items, `version` what other programs are told.
    LinuxSessionStart(const QString& keyringService, const QString& version);

    QtMainQueue queue;
    SecretServiceStore secrets;
    SessionBusControl control;
    const ClaimResult claim;
};

// The backends of a Linux session. Needs the application object; main thread.
class LinuxSession {
public:
    // `start` outlives it. The background queue waits at its end for tasks that still run: what they use must outlive
    // the session too.
    explicit LinuxSession(LinuxSessionStart& start);

    Ports ports();
    Desktop& desktop() { return *m_desktop; }

private:
    LinuxSessionStart& m_start;
    QtBackgroundQueue m_background;
    PulseConnection m_sound;
    PulseAudioInput m_audioInput;
    PulseOutputVolume m_outputVolume;
    PulseSoundPlayer m_sounds;
    QtWorkspace m_workspace;
    AutostartLoginItem m_loginItem;
    std::unique_ptr<Desktop> m_desktop;
    BusNotification m_notification;
    LinuxTrayHost m_trayHost;
    LinuxPanelAppearance m_panelAppearance;
};

// Asks the desktop's session manager not to restart this program with a saved session: at login the autostart entry
// decides alone. The program would be started twice, and a second start opens the settings window. Main thread, before
// the event loop; does nothing without a session manager.
void declineSessionRestart(QGuiApplication& application);

}  // namespace tavlo

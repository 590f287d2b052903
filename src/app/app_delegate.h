#pragma once

#include "app/dictation_session.h"
#include "app/menu_actions.h"
#include "app/status_board.h"
#include "app/text_delivery.h"
#include "app/transcription_routing.h"
#include "audio/recorder.h"
#include "audio/volume_ducker.h"
#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_detection.h"
#include "platform/registration.h"
#include "platform/remote_control.h"
#include "settings/locations.h"
#include "ui/tray/status_menu.h"

#include <QVariant>

#include <vector>

namespace tavlo {

class AppLog;
class AppWindows;
class ConfigFile;
class DesktopNotification;
class MessageOverlay;
class SecretStore;

// What choosing a hotkey shows: in the session's state and on its board, in the message overlay and in a window.
// Main thread.
class CaptureDisplay : public HotkeyDisplay {
public:
    // All of it outlives the display.
    CaptureDisplay(SessionState& state, StatusBoard& board, MessageOverlay& msgHud, AppWindows& windows);

    bool isRecording() const override;
    bool isBusy() const override;
    bool isCapturing() const override;
    void setCapturing(bool capturing) override;
    void setStatusLine(const QString& text) override;
    void showMessage(const QString& text, std::optional<double> autoHideSeconds) override;
    void hideMessage() override;
    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override;

private:
    SessionState& m_state;
    StatusBoard& m_board;
    MessageOverlay& m_msgHud;
    AppWindows& m_windows;
};

// The desktop and the rooms below, as the application object uses them. All of it outlives the application object.
struct AppParts {
    const Locations& locations;
    MainQueue& queue;
    BackgroundQueue& background;
    AudioInput& audioInput;
    OutputVolume& outputVolume;
    SoundPlayer& sounds;
    SecretStore& secrets;
    KeyboardMonitor& keyboard;
    Pasteboard& pasteboard;
    PasteKeystroke& keystroke;
    LoginItem& loginItem;
    Workspace& workspace;
    CloudEngine& cloud;
    LocalEngine& local;
    ModelOffer& offer;
    StatusItem& statusItem;
    RecordingOverlay& hud;
    MessageOverlay& msgHud;
    AppWindows& windows;
    DesktopNotification& notification;
    RemoteControl& control;
    ConfigFile& file;
    AppLog& log;
};

// The application object: owns the session's state and the parts that work on it, and joins them to the desktop.
// Main thread.
class AppDelegate {
public:
    explicit AppDelegate(const AppParts& parts);
    ~AppDelegate();

    void applicationDidFinishLaunching();
    // Puts a lowered volume back; nothing else. May be called more than once.
    void applicationWillTerminate();

    // Somebody has written the settings file, perhaps by hand: the hotkey in it is in force at once.
    void settingsFileChanged();

    const SessionState& state() const { return m_state; }

private:
    void registerHandlers();
    void perform(MenuAction action, const QVariant& representedObject);
    void obey(RemoteCommand command);
    // Where the desktop has no tray for the icon the user is told once, and how to do without.
    void trayChanged(TrayPresence presence);
    void keyringChanged();
    // The user is told when keys can be seen that could not, and the other way round.
    void keysChanged();
    void settingsSaved();

    AppParts m_parts;
    SessionState m_state;
    Recorder m_recorder;
    DuckJournalFile m_duckJournal;
    DuckRepair m_duckRepair;
    VolumeDucker m_ducker;
    StatusBoard m_board;
    TextDelivery m_delivery;
    TranscriptionRouting m_routing;
    DictationSession m_session;
    CaptureDisplay m_captureDisplay;
    HotkeyCapture m_capture;
    HotkeyDetection m_detection;
    MenuActions m_actions;
    bool m_missingTrayTold = false;
    bool m_keysWereThere = false;
    std::vector<Registration> m_registrations;
};

}  // namespace tavlo

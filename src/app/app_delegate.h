#pragma once

#include "app/dictation_session.h"
#include "app/menu_actions.h"
#include "app/status_board.h"
#include "app/text_delivery.h"
#include "app/transcription_routing.h"
#include "audio/duck_journal.h"
#include "audio/recorder.h"
#include "audio/volume_ducker.h"
#include "hotkeys/hotkey_capture.h"
#include "hotkeys/hotkey_detection.h"
#include "hotkeys/hotkey_display.h"
#include "platform/registration.h"
#include "settings/locations.h"
#include "ui/tray/status_item.h"

#include <QString>
#include <QVariant>

#include <vector>

namespace tavlo {

class AppLog;
class AppWindows;
class ConfigFile;
class DesktopNotification;
class RemoteControl;
class SecretStore;
enum class RemoteCommand;

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
class AppDelegate : private HotkeyTarget, private HotkeyDisplay {
public:
    explicit AppDelegate(const AppParts& parts);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    // Puts a lowered volume back; nothing else. May be called more than once.
    void applicationWillTerminate();

    void obey(RemoteCommand command);
    void perform(MenuAction action, const QVariant& representedObject);
    void menuToggle() { m_session.menuToggle(); }
    void pasteAgain() { m_delivery.pasteAgain(); }
    void openConfig() { m_actions.openConfig(); }
    void openWebsite() { m_actions.openWebsite(); }
    void openFeedback() { m_actions.openFeedback(); }
    // Ends a running recording without a result; does nothing when none runs.
    void cancelRecording() override;
    // Whether the desktop has a tray for the icon; where it has none the user is told once, and how to do without.
    void trayChanged(TrayPresence presence);
    // What follows a save in the settings window.
    void settingsSaved();

    bool isRecording() const override { return m_state.recording; }
    bool isBusy() const override { return m_state.busy; }
    bool isCapturing() const override { return m_state.capturing; }
    const QString& statusLine() const { return m_state.statusLine; }

private:
    void audioConfigurationChanged();
    void publishState();

    // HotkeyTarget
    void toggle() override { m_session.toggle(); }
    void captureModifier(const KeyEvent& event) override { m_capture.captureModifier(event); }
    void finishCapture(const KeyEvent& event) override { m_capture.finishCapture(event); }
    // HotkeyDisplay
    void setCapturing(bool capturing) override;
    void setStatusLine(const QString& text) override { m_board.setStatusLine(text); }
    void showMessage(const QString& text, std::optional<double> autoHideSeconds) override;
    void hideMessage() override;
    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override;

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
    HotkeyCapture m_capture;
    HotkeyDetection m_detection;
    MenuActions m_actions;
    bool m_missingTrayTold = false;
    std::vector<Registration> m_registrations;
};

}  // namespace tavlo

#pragma once

#include "platform/queues.h"
#include "platform/remote_control.h"

#include <QString>

#include <cstdint>

namespace tavlo {

// What the parts of the application object share. Main thread only.
struct SessionState {
    bool recording = false;      // the microphone runs for a dictation
    bool busy = false;           // a finished recording is being transcribed; toggles are ignored
    std::int64_t busyToken = 0;  // generation number of the current transcription
    bool capturing = false;      // a hotkey is being chosen; toggles are ignored
    QString statusLine;          // first line of the menu; set through StatusBoard
    QString lastText;            // the last text delivered

    // What the icon and other programs show. A new recording goes before a transcription that its watchdog has freed.
    Activity activity() const;
};

class ConfigFile;
class KeyboardMonitor;
class LoginItem;
class RemoteControl;
class StatusItem;
struct Config;
struct HotkeyOption;

// What the board shows and where. All of it outlives the board.
struct StatusBoardParts {
    SessionState& state;
    MainQueue& queue;
    const ConfigFile& file;
    KeyboardMonitor& keyboard;
    LoginItem& loginItem;
    StatusItem& statusItem;
    RemoteControl& control;
};

// Shows the session's state in the panel and to other programs: the icon, and the menu, which is built anew after every
// change. Only the operations whose names begin with "lookUp" ask the keyring or the desktop anything; what they learn
// is what the menu shows from then on. Main thread.
class StatusBoard {
public:
    explicit StatusBoard(const StatusBoardParts& parts);

    // Sets the menu's first line and rebuilds the menu.
    void setStatusLine(const QString& text);
    // Builds the menu from the current state and the settings read afresh, and publishes the state.
    void buildMenu();
    // Tells the keyboard which keys are waited for, by the current state and the settings read afresh. Done by
    // `buildMenu` too.
    void tellKeyboard();
    // Gives the icon the shape of the current activity.
    void updateIcon();
    // Tells other programs the current activity and status line.
    void publish();

    // Asks the keyring whether there is a key for the provider in the settings; waits for it one second at most. The
    // menu is left as it is.
    void lookUpKey();
    // The same for a caller who has just read these settings with their key.
    void noteKey(const Config& config);
    // Whether there is a key for the provider of these settings, as far as is known.
    bool hasKey(const Config& config) const;

    // Asks whether the program starts at login. The menu is left as it is.
    void lookUpLoginItem();

private:
    void tellKeyboard(const HotkeyOption& hotkey);

    StatusBoardParts m_parts;
    QString m_keyProvider;  // whose key was looked up last; empty where the settings could not be read
    bool m_hasKey = false;
    bool m_loginItemEnabled = false;
    Lifetime m_lookUp;
};

}  // namespace tavlo

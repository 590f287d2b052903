#pragma once

#include "platform/activity.h"

#include <QString>

#include <cstdint>
#include <functional>

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
class LoginItem;
class StatusItem;
struct Config;

// Shows the session's state in the panel: the icon and the menu, which is built anew after every change. Main thread.
class StatusBoard {
public:
    StatusBoard(SessionState& state, const ConfigFile& file, LoginItem& loginItem, StatusItem& statusItem);

    // Sets the menu's first line and rebuilds the menu.
    void setStatusLine(const QString& text);
    // The same for a caller who has just read the settings, where a second question to the keyring would cost time.
    void setStatusLine(const QString& text, const Config& config);
    // Throws the old menu away and builds one from the current state and the settings read afresh.
    void buildMenu();
    // Gives the icon the shape of the current activity.
    void updateIcon();

    // Called after every rebuild: whoever shows the state elsewhere reads it then.
    std::function<void()> changed;

private:
    void buildMenu(const Config& config);

    SessionState& m_state;
    const ConfigFile& m_file;
    LoginItem& m_loginItem;
    StatusItem& m_statusItem;
};

}  // namespace tavlo

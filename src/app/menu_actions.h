#pragma once

#include <QString>
#include <QVariant>

namespace tavlo {

class AppLog;
class ConfigFile;
class DictationSession;
class KeyboardMonitor;
class LoginItem;
class StatusBoard;
class Workspace;

// The menu items' own small actions: language, ducking, login item and the pages and files that they open.
// Main thread.
class MenuActions {
public:
    // The session tells failures.
    MenuActions(ConfigFile& file, LoginItem& loginItem, Workspace& workspace, StatusBoard& board,
                DictationSession& session, const KeyboardMonitor& keyboard, AppLog& log);

    // `representedObject` is the language's code; anything but a string does nothing.
    void pickLanguage(const QVariant& representedObject);
    void toggleDuck();
    void toggleLogin();
    void openConfig();
    void openFeedback();

private:
    ConfigFile& m_file;
    LoginItem& m_loginItem;
    Workspace& m_workspace;
    StatusBoard& m_board;
    DictationSession& m_session;
    const KeyboardMonitor& m_keyboard;
    AppLog& m_log;
};

// What the status line says when nothing is going on: that Tavlo is ready, or why no key can arrive.
QString readyText(const KeyboardMonitor& keyboard);

}  // namespace tavlo

#pragma once

#include <QString>
#include <QVariant>

#include <functional>

namespace tavlo {

class AppLog;
class ConfigFile;
class LoginItem;
class StatusBoard;
class Workspace;

// The menu items' own small actions: language, ducking, login item and the pages and files that they open.
// Main thread.
class MenuActions {
public:
    // `flashError` tells a failure with the error sound and the status line.
    MenuActions(ConfigFile& file, LoginItem& loginItem, Workspace& workspace, StatusBoard& board, AppLog& log,
                std::function<void(const QString&)> flashError);

    // `representedObject` is the language's code; anything but a string does nothing.
    void pickLanguage(const QVariant& representedObject);
    void toggleDuck();
    void toggleLogin();
    void openConfig();
    void openWebsite();
    void openFeedback();

private:
    ConfigFile& m_file;
    LoginItem& m_loginItem;
    Workspace& m_workspace;
    StatusBoard& m_board;
    AppLog& m_log;
    std::function<void(const QString&)> m_flashError;
};

// What the status line says when nothing is going on.
QString readyText();

}  // namespace tavlo

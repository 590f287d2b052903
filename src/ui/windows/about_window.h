#pragma once

#include "ui/window_description.h"
#include "ui/windows/window_frame.h"

#include <QString>

#include <memory>

namespace tavlo {

class Screens;
class Workspace;

// The about window in the interface language. Without a version it shows "1.0".
WindowDescription aboutWindowLayout(const QString& version);

// The window that presents the application. Built anew at every opening. Main thread.
class AboutWindow {
public:
    // `version` as in "1.0"; empty where the program has none.
    AboutWindow(QString version, Screens& screens, Workspace& workspace);

    void openAbout();

    // The current window; none before the first opening.
    WindowFrame* aboutWindow() { return m_aboutWindow.get(); }

private:
    QString m_version;
    Screens& m_screens;
    Workspace& m_workspace;
    std::unique_ptr<WindowFrame> m_aboutWindow;
};

}  // namespace tavlo

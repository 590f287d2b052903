#pragma once

#include "ui/window_description.h"
#include "ui/windows/window_frame.h"

#include <QString>

#include <functional>
#include <memory>

namespace tavlo {

// The about window in the interface language. Without a version it shows "1.0".
WindowDescription aboutWindowLayout(const QString& version);

class Screens;

// What the about window's two buttons call.
struct AboutWindowActions {
    std::function<void()> openWebsite;
    std::function<void()> openFeedback;
};

// The window that presents the application. Built anew at every opening. Main thread.
class AboutWindow {
public:
    // `version` as in "1.0"; empty where the program has none.
    AboutWindow(QString version, Screens& screens, AboutWindowActions actions);

    void openAbout();

    // The current window; none before the first opening.
    WindowFrame* aboutWindow() { return m_aboutWindow.get(); }

private:
    QString m_version;
    Screens& m_screens;
    AboutWindowActions m_actions;
    std::unique_ptr<WindowFrame> m_aboutWindow;
};

}  // namespace tavlo

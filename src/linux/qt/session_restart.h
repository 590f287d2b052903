#pragma once

class QGuiApplication;

namespace tavlo {

// Asks the desktop's session manager not to restart this program with a saved session: at login the autostart entry
// decides alone. The program would be started twice, and a second start opens the settings window. Main thread, before
// the event loop; does nothing without a session manager.
void declineSessionRestart(QGuiApplication& application);

}  // namespace tavlo

#pragma once

class QGuiApplication;

namespace tavlo {

// Has the desktop's session manager leave this program out of the sessions that it saves and restores. At login the
// autostart entry alone decides: a session that started the program as well would start it twice, and a second start
// opens the settings window. Main thread, before the event loop; without a session manager it does nothing.
void declineSessionRestart(QGuiApplication& application);

}  // namespace tavlo

#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace tavlo {

// A sway of the test's own, without a screen to look at, under a socket in a folder of its own. It runs as an ordinary
// user, since it refuses to run as root. It ends with the object, and with the test process should that crash.
class SwayServer {
public:
    SwayServer();
    ~SwayServer();
    SwayServer(const SwayServer&) = delete;
    SwayServer& operator=(const SwayServer&) = delete;

    // The path of its socket, for WAYLAND_DISPLAY; empty where it did not start.
    QByteArray displayName() const { return m_displayName; }
    QByteArray errors() { return m_process.readAllStandardError(); }
    // Stops and continues all of its work.
    void freeze();
    void thaw();
    void kill();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QByteArray m_displayName;
};

}  // namespace tavlo

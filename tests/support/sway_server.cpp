#include "support/sway_server.h"

#include "platform/text_literals.h"
#include "support/listening.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

#include <chrono>
#include <csignal>
#include <thread>

#include <sys/prctl.h>
#include <unistd.h>

namespace tavlo {

namespace {

constexpr uid_t kNobody = 65534;
constexpr std::chrono::seconds kStartTime{20};

}  // namespace

SwayServer::SwayServer() : m_folder(QDir::tempPath() + u"/tavlo-sway-XXXXXX"_s)
{
    const QString folder = m_folder.path();
    QFile settings(folder + u"/config"_s);
    if (!settings.open(QIODevice::WriteOnly) ||
        settings.write("xwayland disable\nfocus_on_window_activation focus\n") < 0) {
        return;
    }
    settings.close();
    const bool isRoot = geteuid() == 0;
    if (isRoot && chown(QFile::encodeName(folder).constData(), kNobody, kNobody) != 0) {
        return;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s}) {
        environment.remove(name);
    }
    environment.insert(u"HOME"_s, folder);
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder);
    environment.insert(u"WLR_BACKENDS"_s, u"headless"_s);
    environment.insert(u"WLR_LIBINPUT_NO_DEVICES"_s, u"1"_s);
    environment.insert(u"WLR_RENDERER"_s, u"pixman"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setChildProcessModifier([isRoot] {
        if (isRoot && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
            _exit(127);
        }
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // after the change of user, which takes it back
    });
    m_process.start(u"sway"_s, {u"-c"_s, settings.fileName()});
    const auto end = std::chrono::steady_clock::now() + kStartTime;
    const QString socket = folder + u"/wayland-1"_s;
    while (!isListenedTo(socket)) {
        if (m_process.waitForFinished(10) || std::chrono::steady_clock::now() > end) {
            return;
        }
    }
    m_displayName = QFile::encodeName(socket);
}

SwayServer::~SwayServer()
{
    thaw();
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void SwayServer::freeze()
{
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

void SwayServer::thaw()
{
    if (m_process.state() == QProcess::Running) {
        ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
    }
}

void SwayServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

}  // namespace tavlo

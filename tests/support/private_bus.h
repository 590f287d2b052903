#pragma once

#include "platform/text_literals.h"
#include "support/listening.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>

#include <sys/prctl.h>
#include <unistd.h>
#include <csignal>
#include <functional>
#include <memory>

namespace tavlo {

// Looks again and again whether `condition` holds, for at most `limitMs`. Returns whether it came to hold.
inline bool comesTrue(const std::function<bool()>& condition, qint64 limitMs = 10'000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > limitMs) {
            return false;
        }
        QThread::msleep(5);
    }
    return true;
}

// A program that a test runs; it ends with the object.
class TestProgram {
public:
    TestProgram(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment,
                const QByteArray& input = {})
    {
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        // Nothing is left running when the test itself crashes.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start(program, arguments);
        if (!m_process.waitForStarted()) {
            qFatal("%s does not start: %s", qUtf8Printable(program), qUtf8Printable(m_process.errorString()));
        }
        m_process.write(input);
        while (m_process.bytesToWrite() > 0 && m_process.waitForBytesWritten()) {
        }
        m_process.closeWriteChannel();
    }
    TestProgram(const TestProgram&) = delete;
    TestProgram& operator=(const TestProgram&) = delete;
    ~TestProgram()
    {
        freeze(false);
        m_process.terminate();
        if (!m_process.waitForFinished(5'000)) {
            m_process.kill();
            m_process.waitForFinished(5'000);
        }
    }

    // Stops the program where it is, as a hang does, or lets it go on.
    void freeze(bool frozen) const
    {
        if (m_process.processId() > 0) {
            ::kill(static_cast<pid_t>(m_process.processId()), frozen ? SIGSTOP : SIGCONT);
        }
    }

private:
    QProcess m_process;
};

// A session bus for one test, with an empty home of its own. It starts no services. While the object lives, this
// process's environment names the bus.
class PrivateBus {
public:
    // `rules` are further ones of the bus's policy, in the language of its configuration file.
    explicit PrivateBus(const QByteArray& rules = {})
    {
        emptyHome();
        QFile config(m_folder.filePath(u"bus.conf"_s));
        if (!config.open(QIODevice::WriteOnly)) {
            qFatal("The bus has no place for its configuration.");
        }
        config.write(
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" \"busconfig.dtd\">"
            "<busconfig><type>session</type><listen>" +
            address() +
            "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
            "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>" +
            rules + "</policy></busconfig>");
        config.close();
        m_before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("DBUS_SESSION_BUS_ADDRESS", address());
        start();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() { qputenv("DBUS_SESSION_BUS_ADDRESS", m_before); }

    // Removes what the programs on this bus have kept.
    void emptyHome() const
    {
        for (const QString& folder : {home(), runtimeFolder()}) {
            QDir(folder).removeRecursively();
            QDir().mkpath(folder);
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        }
    }

    // The same address each time.
    void start()
    {
        m_daemon = std::make_unique<TestProgram>(
            u"dbus-daemon"_s, QStringList{u"--nofork"_s, u"--config-file"_s, m_folder.filePath(u"bus.conf"_s)},
            environment());
        if (!comesTrue([this] { return isListenedTo(socket()); })) {
            qFatal("The bus does not come up.");
        }
    }

    void stop()
    {
        m_daemon.reset();
        QFile::remove(socket());
    }

    void freeze(bool frozen) const { m_daemon->freeze(frozen); }

    QByteArray address() const { return "unix:path=" + QFile::encodeName(socket()); }
    QString home() const { return m_folder.filePath(u"home"_s); }
    QString runtimeFolder() const { return m_folder.filePath(u"run"_s); }

    // For programs that live on this bus.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, qEnvironmentVariable("PATH"));
        environment.insert(u"HOME"_s, home());
        environment.insert(u"XDG_RUNTIME_DIR"_s, runtimeFolder());
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLocal8Bit(address()));
        return environment;
    }

private:
    QString socket() const { return m_folder.filePath(u"bus"_s); }

    QTemporaryDir m_folder;
    QByteArray m_before;
    std::unique_ptr<TestProgram> m_daemon;
};

}  // namespace tavlo

#include "support/audio_servers.h"
#include "platform/text_literals.h"
#include "support/listening.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <sys/prctl.h>

#include <csignal>
#include <utility>

namespace tavlo {

namespace {

constexpr int kStartMilliseconds = 20000;
constexpr int kAskAgainMilliseconds = 20;
constexpr int kEndMilliseconds = 5000;

// A child that dies with the test, should that be ended from outside.
void tieToThisProcess(QProcess& process)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

void end(QProcess& process)
{
    process.kill();
    process.waitForFinished(kEndMilliseconds);
}

// Tries until it works, for a program that comes up in its own time.
template <class Condition>
bool comesTrue(const Condition& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > kStartMilliseconds) {
            return false;
        }
        QThread::msleep(kAskAgainMilliseconds);
    }
    return true;
}

}  // namespace

AudioServer::AudioServer(AudioServerKind kind) : m_kind(kind)
{
    const QByteArray folder = QFile::encodeName(m_folder.path());
    const std::vector<std::pair<QByteArray, QByteArray>> environment = {
        {"HOME", folder},
        {"XDG_RUNTIME_DIR", folder},
        {"XDG_CONFIG_HOME", folder + "/config"},
        {"XDG_STATE_HOME", folder + "/state"},
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder + "/bus"},
        {"PULSE_RUNTIME_PATH", {}},
        {"PULSE_SERVER", {}},
        {"DISPLAY", {}},
    };
    QDir(m_folder.path()).mkpath(u"config"_s);
    QFile::link(QStringLiteral(TAVLO_WIREPLUMBER), m_folder.filePath(u"config/wireplumber"_s));
    for (const auto& [name, value] : environment) {
        m_environmentBefore.emplace_back(name, qgetenv(name.constData()));
        value.isEmpty() ? qunsetenv(name.constData()) : qputenv(name.constData(), value);
    }
}

AudioServer::~AudioServer()
{
    kill();
    for (const auto& [name, value] : m_environmentBefore) {
        value.isEmpty() ? qunsetenv(name.constData()) : qputenv(name.constData(), value);
    }
}

bool AudioServer::start()
{
    makeSocketFolder();
    bool isStarted = true;
    if (m_kind == AudioServerKind::PulseAudio) {
        const auto module = [](const char* text) { return QStringList{u"-L"_s, QString::fromLatin1(text)}; };
        isStarted =
            run(u"pulseaudio"_s, QStringList{u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s,
                                             u"--use-pid-file=no"_s, u"--realtime=no"_s, u"--high-priority=no"_s} +
                                     module("module-native-protocol-unix") + module("module-rescue-streams"));
    } else {
        isStarted = run(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s,
                                           u"--address="_s + qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS")}) &&
                    comesTrue([this] { return isListenedTo(m_folder.filePath(u"bus"_s)); }) && run(u"pipewire"_s, {}) &&
                    comesTrue([this] { return QFile::exists(m_folder.filePath(u"pipewire-0"_s)); }) &&
                    run(u"wireplumber"_s, {}) && run(u"pipewire-pulse"_s, {});
    }
    if (!isStarted || !comesTrue([this] { return !control({u"info"_s}).isEmpty(); }) || !makeDevices()) {
        qWarning("the sound server did not come up: %s\n%s\n%s", qPrintable(control({u"info"_s})),
                 qPrintable(list(u"modules"_s).join(QLatin1Char('\n'))),
                 qPrintable(list(u"sources"_s).join(QLatin1Char('\n'))));
        return false;
    }
    return true;
}

// The server and every client that looks for it make this folder where it is missing, and pipewire-pulse ends when a
// client makes it between its own look and its own mkdir. So it is there before either of them starts.
void AudioServer::makeSocketFolder() const
{
    const QString folder = m_folder.filePath(u"pulse"_s);
    QDir().mkdir(folder);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

bool AudioServer::makeDevices()
{
    const auto words = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); };
    loadModule(words("module-null-sink sink_name=speakers rate=48000 channels=2"));
    loadModule(words("module-null-sink sink_name=voice format=float32le rate=48000 channels=1 channel_map=mono"));
    const auto source = [&](const char* name) {
        return loadModule(words("module-remap-source master=voice.monitor channels=1 channel_map=mono") +
                          QStringList{u"source_name="_s + QString::fromLatin1(name)});
    };
    m_microphoneModule = source("microphone");
    m_headsetModule = source("headset");
    return comesTrue([&] {
        control(words("set-default-sink speakers"));
        control(words("set-default-source microphone"));
        const QString info = control(words("info"));
        return info.contains(u"Default Sink: speakers\n"_s) && info.contains(u"Default Source: microphone\n"_s);
    });
}

void AudioServer::kill()
{
    for (const auto& listener : m_listeners) {
        end(*listener);
    }
    m_listeners.clear();
    while (!m_servers.empty()) {
        end(*m_servers.back());
        m_servers.pop_back();
    }
    // What a killed server leaves behind is in nobody's way but its successor's.
    QDir(m_folder.filePath(u"pulse"_s)).removeRecursively();
    QFile::remove(m_folder.filePath(u"bus"_s));
    QFile::remove(m_folder.filePath(u"pipewire-0"_s));
}

void AudioServer::freeze()
{
    sendSignal(SIGSTOP);
}

void AudioServer::thaw()
{
    sendSignal(SIGCONT);
}

void AudioServer::sendSignal(int number) const
{
    ::kill(static_cast<pid_t>(m_servers.back()->processId()), number);
}

void AudioServer::listenTo(const QString& sink)
{
    auto listener = std::make_unique<QProcess>();
    tieToThisProcess(*listener);
    listener->setStandardOutputFile(QProcess::nullDevice());
    listener->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    listener->start(u"parec"_s, {u"--raw"_s, u"--latency-msec=10"_s, u"-d"_s, sink + u".monitor"_s});
    m_listeners.push_back(std::move(listener));
    comesTrue([&] {
        const QString streams = control({u"list"_s, u"source-outputs"_s});
        return streams.count(u"application.name = \"parec\""_s) == static_cast<qsizetype>(m_listeners.size());
    });
    if (m_kind == AudioServerKind::PulseAudio) {
        // The sink has already gone to sleep for its two seconds: wake it.
        control({u"suspend-sink"_s, sink, u"1"_s});
        control({u"suspend-sink"_s, sink, u"0"_s});
    }
}

QString AudioServer::control(const QStringList& arguments) const
{
    QProcess pactl;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LC_ALL"_s, u"C"_s);
    pactl.setProcessEnvironment(environment);
    pactl.start(u"pactl"_s, arguments);
    pactl.waitForFinished(kStartMilliseconds);
    return QString::fromUtf8(pactl.readAllStandardOutput());
}

QStringList AudioServer::list(const QString& what) const
{
    return control({u"list"_s, u"short"_s, what}).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void AudioServer::unplug(const QString& source)
{
    QString& module = source == "microphone"_L1 ? m_microphoneModule : m_headsetModule;
    control({u"unload-module"_s, std::exchange(module, {}).trimmed()});
}

bool AudioServer::run(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    tieToThisProcess(*process);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(m_folder.filePath(program + u".log"_s));
    process->start(program, arguments);
    const bool isStarted = process->waitForStarted();
    if (!isStarted) {
        qWarning("cannot start %s", qPrintable(program));
    }
    m_servers.push_back(std::move(process));
    return isStarted;
}

}  // namespace tavlo

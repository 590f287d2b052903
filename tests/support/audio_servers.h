#pragma once

#include "platform/text_literals.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <ostream>
#include <vector>

namespace tavlo {

enum class AudioServerKind { PulseAudio, PipeWire };

inline void PrintTo(AudioServerKind kind, std::ostream* out)
{
    *out << (kind == AudioServerKind::PulseAudio ? "PulseAudio" : "PipeWire");
}

// A sound server of the test's own, with an empty home and runtime folder, which the process's environment names as
// long as this lives. Devices: the stereo sink "speakers" (default); the sink "voice" that a test speaks into, heard
// by the sources "microphone" (default) and "headset".
class AudioServer {
public:
    explicit AudioServer(AudioServerKind kind);
    ~AudioServer();
    AudioServer(const AudioServer&) = delete;
    AudioServer& operator=(const AudioServer&) = delete;

    AudioServerKind kind() const { return m_kind; }
    // Starts the server with its devices; false, with the reason on standard error, when it does not come up.
    bool start();
    // Kills it, as a crash would.
    void kill();
    // A server that answers no more, and one that does again.
    void freeze();
    void thaw();

    // Keeps the sink awake: one that nobody hears sleeps for up to two seconds at a time.
    void listenTo(const QString& sink);

    // Runs pactl and gives what it prints.
    QString control(const QStringList& arguments) const;
    // Loads a module and gives its number.
    QString loadModule(const QStringList& arguments) const
    {
        return control(QStringList{u"load-module"_s} + arguments);
    }
    // The lines of "pactl list short <what>".
    QStringList list(const QString& what) const;
    // Takes the source away, as pulling its plug would.
    void unplug(const QString& source);

private:
    bool run(const QString& program, const QStringList& arguments);
    void makeSocketFolder() const;
    bool makeDevices();
    void sendSignal(int number) const;

    AudioServerKind m_kind;
    QTemporaryDir m_folder;
    std::vector<std::pair<QByteArray, QByteArray>> m_environmentBefore;
    std::vector<std::unique_ptr<QProcess>> m_servers;
    std::vector<std::unique_ptr<QProcess>> m_listeners;
    QString m_microphoneModule;
    QString m_headsetModule;
};

}  // namespace tavlo

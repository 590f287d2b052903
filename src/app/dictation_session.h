#pragma once

#include "platform/queues.h"
#include "platform/result.h"
#include "settings/config.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>

namespace tavlo {

// Writes `wav` under `path`, readable by its owner only: beside it first, then renamed, so that the old file is whole
// until the new one is. When that fails the old file is removed as well, so that no engine transcribes an earlier
// recording's words, and the failure is returned.
Result<void> writeLastRecording(const QByteArray& wav, const QString& path);

class AppLog;
class ConfigFile;
class MessageOverlay;
class Recorder;
class RecordingOverlay;
class SoundPlayer;
class StatusBoard;
class VolumeDucker;
struct SessionState;

// What a dictation works with; all of it outlives the session.
struct DictationParts {
    SessionState& state;
    MainQueue& queue;
    Recorder& recorder;
    VolumeDucker& ducker;
    SoundPlayer& sounds;
    RecordingOverlay& hud;
    MessageOverlay& msgHud;
    StatusBoard& board;
    const ConfigFile& file;
    AppLog& log;
    QString lastWavPath;
};

// Starts and ends recordings, judges whether they are worth transcribing and hands them over. Main thread.
class DictationSession {
public:
    // A recording with speech, saved as the last recording, on its way to an engine.
    using HandOver = std::function<void(const QByteArray& wav, const Config& config, double durationSeconds)>;

    // A recording has begun: what will take it over may prepare itself.
    using Prepare = std::function<void()>;

    DictationSession(const DictationParts& parts, Prepare prepare, HandOver handOver);

    // Starts or finishes a recording; does nothing while a transcription or a capture is under way.
    void menuToggle();
    void toggle() { menuToggle(); }
    void startRecording();
    void finishRecording();
    void cancelRecording();
    // A failure in the status line, with the error sound.
    void flashError(const QString& message);

private:
    void rejectSilence();
    void transcribe(const QByteArray& wav, double durationSeconds);
    void watchdogFired(std::int64_t token);

    DictationParts m_parts;
    Prepare m_prepare;
    HandOver m_handOver;
    Lifetime m_lifetime;
};

}  // namespace tavlo

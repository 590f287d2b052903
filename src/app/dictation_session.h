#pragma once

#include "hotkeys/hotkey_detection.h"
#include "platform/queues.h"
#include "platform/result.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

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
class TranscriptionRouting;
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
    TranscriptionRouting& routing;
    const ConfigFile& file;
    AppLog& log;
    QString lastWavPath;
};

// Starts and ends recordings, judges whether they are worth transcribing and hands them over to routing. Main thread.
class DictationSession : public DictationControl {
public:
    explicit DictationSession(const DictationParts& parts);

    bool isRecording() const override;
    void toggle() override;
    void cancelRecording() override;
    // The device in use has changed: a running recording ends without a result, and the user is told why.
    void audioConfigurationChanged();
    // A failure in the status line, with the error sound.
    void flashError(const QString& message);

private:
    void startRecording();
    void finishRecording();
    void rejectSilence();
    void transcribe(const QByteArray& wav, double durationSeconds);
    void watchdogFired(std::int64_t token);

    DictationParts m_parts;
    Lifetime m_lifetime;
};

// What the overlay says, in the interface language, of a recording without any signal and of one that ended because the
// microphone changed.
QString noSignalMessage();
QString deviceChangedMessage();

}  // namespace tavlo

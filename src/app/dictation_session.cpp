#include "app/dictation_session.h"

#include "app/last_recording.h"
#include "app/session_state.h"
#include "app/status_board.h"
#include "app/text_rules.h"
#include "audio/recorder.h"
#include "audio/volume_ducker.h"
#include "audio/wav.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/sound_player.h"
#include "settings/app_log.h"
#include "settings/config_file.h"
#include "settings/language.h"
#include "ui/overlays.h"

#include <limits>
#include <utility>

namespace tavlo {

namespace {

constexpr double kBytesPerSecond = 32000.0;  // 16,000 samples of two bytes
constexpr double kShortestRecordingSeconds = 0.4;
constexpr float kSpeechPeak = 0.18F;    // recorder's scale, -41 dBFS
constexpr float kNoSignalPeak = 0.01F;  // below it not even a microphone's own noise came
constexpr std::chrono::seconds kWatchdogDelay{120};

const QString kWarning = QStringLiteral("⚠️ ");

}  // namespace

DictationSession::DictationSession(const DictationParts& parts, Prepare prepare, HandOver handOver)
    : m_parts(parts), m_prepare(std::move(prepare)), m_handOver(std::move(handOver))
{
}

void DictationSession::menuToggle()
{
    if (m_parts.state.busy || m_parts.state.capturing) {
        return;
    }
    if (m_parts.recorder.isRecording()) {
        finishRecording();
    } else {
        startRecording();
    }
}

void DictationSession::startRecording()
{
    if (const auto started = m_parts.recorder.start(); !started) {
        flashError(t(QStringLiteral("Microfoon: "), QStringLiteral("Microphone: ")) + started.error().description);
        return;
    }
    m_parts.sounds.playSound(QStringLiteral("Pop"), 0.15F);
    // The key plays no part in a recording's start, so a slow keyring must not delay it.
    const Config config = m_parts.file.loadWithoutKey();
    if (config.duckEnabled) {
        m_parts.ducker.duckTo(static_cast<float>(config.duckVolume));
    }
    m_parts.hud.show();
    m_parts.board.setIcon(QStringLiteral("waveform"));
    const QString label = hotkeyFrom(config, m_parts.file.path()).label();
    m_parts.board.setStatusLine(t(QStringLiteral("Opnemen… ") + label + QStringLiteral(" = stop, Esc = annuleren"),
                                  QStringLiteral("Recording… ") + label + QStringLiteral(" = stop, Esc = cancel")));
    m_prepare();
}

void DictationSession::finishRecording()
{
    m_parts.file.beginLoad();  // The key is looked for while the last frames come.
    QByteArray pcm = m_parts.recorder.stop();
    m_parts.hud.hide();
    m_parts.ducker.restore();
    m_parts.sounds.playSound(QStringLiteral("Tink"), 0.12F);

    const double duration = static_cast<double>(pcm.size()) / kBytesPerSecond;
    if (duration < kShortestRecordingSeconds) {
        m_parts.board.setIcon(QStringLiteral("mic"));
        m_parts.board.setStatusLine(t(QStringLiteral("Opname te kort"), QStringLiteral("Recording too short")));
        return;
    }
    if (m_parts.recorder.peakLevel() < kSpeechPeak) {
        rejectSilence();
        return;
    }
    transcribe(std::move(pcm), duration);
}

void DictationSession::rejectSilence()
{
    m_parts.board.setIcon(QStringLiteral("mic"));
    const float peak = m_parts.recorder.peakLevel();
    QString statusLine;
    if (peak < kNoSignalPeak) {
        statusLine = t(QStringLiteral("Geen microfoonsignaal - gebruikt een andere app de microfoon?"),
                       QStringLiteral("No microphone signal - is another app using the mic?"));
        m_parts.msgHud.show(t(QStringLiteral("Geen microfoonsignaal ontvangen. Gebruikt FaceTime, Zoom of Teams de "
                                             "microfoon? Beëindig het gesprek of geef Tavlo even de microfoon."),
                              QStringLiteral("No microphone signal received. Is FaceTime, Zoom or Teams using the "
                                             "mic? End the call or let Tavlo use the microphone.")),
                            6.0);
    } else {
        statusLine = t(QStringLiteral("Geen spraak gehoord - niets verstuurd"),
                       QStringLiteral("No speech detected - nothing sent"));
    }
    m_parts.log.appLog(QStringLiteral("Stilte gedetecteerd (piek ") + shortestDecimal(peak) +
                       QStringLiteral("), overgeslagen"));
    m_parts.board.setStatusLine(statusLine);
}

void DictationSession::transcribe(QByteArray pcm, double durationSeconds)
{
    SessionState& state = m_parts.state;
    state.busy = true;
    if (state.busyToken == std::numeric_limits<std::int64_t>::max()) {
        qFatal("busyToken overflows");
    }
    const std::int64_t token = ++state.busyToken;
    m_parts.board.setIcon(QStringLiteral("hourglass"));
    const QString seconds = QString::number(static_cast<qint64>(durationSeconds));
    const Config config = m_parts.file.load();
    m_parts.board.setStatusLine(t(QStringLiteral("Transcriberen… (") + seconds + QStringLiteral(" sec audio)"),
                                  QStringLiteral("Transcribing… (") + seconds + QStringLiteral("s of audio)")),
                                config);
    m_parts.log.appLog(QStringLiteral("Opname gestopt: ") + seconds + QStringLiteral("s audio, start transcriptie"));
    m_parts.queue.postAfter(kWatchdogDelay, m_lifetime.reference(), [this, token] { watchdogFired(token); });

    const QByteArray wav = makeWav(std::move(pcm));
    if (const auto written = writeLastRecording(wav, m_parts.lastWavPath); !written) {
        m_parts.log.appLog(QStringLiteral("Laatste opname niet bewaard: ") + written.error().description);
    }
    m_handOver(wav, config, durationSeconds);
}

void DictationSession::watchdogFired(std::int64_t token)
{
    if (!m_parts.state.busy || m_parts.state.busyToken != token) {
        return;
    }
    m_parts.state.busy = false;
    m_parts.board.setIcon(QStringLiteral("mic"));
    m_parts.log.appLog(QStringLiteral("WAAKHOND: transcriptie hing, app vrijgegeven"));
    m_parts.sounds.playSound(QStringLiteral("Basso"), 0.5F);
    m_parts.board.setStatusLine(
        kWarning + t(QStringLiteral("Transcriptie duurde te lang en is afgebroken - opname is bewaard als "
                                    "laatste-opname.wav"),
                     QStringLiteral("Transcription took too long and was aborted - the recording is saved as "
                                    "laatste-opname.wav")));
}

void DictationSession::cancelRecording()
{
    // The samples are dropped with the returned value.
    m_parts.recorder.stop();
    m_parts.hud.hide();
    m_parts.ducker.restore();
    m_parts.sounds.playSound(QStringLiteral("Basso"), 0.2F);
    m_parts.board.setIcon(QStringLiteral("mic"));
    m_parts.board.setStatusLine(t(QStringLiteral("Opname geannuleerd"), QStringLiteral("Recording cancelled")));
}

void DictationSession::flashError(const QString& message)
{
    m_parts.sounds.playSound(QStringLiteral("Basso"), 0.5F);
    m_parts.board.setStatusLine(kWarning + message);
}

}  // namespace tavlo

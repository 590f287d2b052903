#include "app/dictation_session.h"

#include "app/status_board.h"
#include "app/transcription_routing.h"
#include "audio/recorder.h"
#include "audio/sound_cues.h"
#include "audio/volume_ducker.h"
#include "hotkeys/hotkey_catalogue.h"
#include "platform/sound_player.h"
#include "platform/text_literals.h"
#include "posix/file_access.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/language.h"
#include "ui/overlays/overlays.h"

#include <QFile>

#include <limits>
#include <utility>

namespace tavlo {

Result<void> writeLastRecording(const QByteArray& wav, const QString& path)
{
    Result<void> written = replaceFile(path, wav);
    if (!written && !QFile::remove(path) && QFile::exists(path)) {
        QFile::resize(path, 0);
    }
    return written;
}

namespace {

constexpr double kShortestRecordingSeconds = 0.4;
constexpr std::chrono::seconds kWatchdogDelay{120};

const QString kWarning = u"⚠️ "_s;

}  // namespace

DictationSession::DictationSession(const DictationParts& parts) : m_parts(parts) {}

bool DictationSession::isRecording() const
{
    return m_parts.state.recording;
}

void DictationSession::toggle()
{
    if (m_parts.state.busy || m_parts.state.capturing) {
        return;
    }
    if (m_parts.state.recording) {
        finishRecording();
    } else {
        startRecording();
    }
}

void DictationSession::startRecording()
{
    if (const auto started = m_parts.recorder.start(); !started) {
        flashError(t(u"Microfoon: "_s, u"Microphone: "_s) + started.error().description);
        return;
    }
    m_parts.state.recording = true;
    m_parts.sounds.play(sound(SoundCue::Started), 0.15F);
    // The key plays no part in a recording's start, so a slow keyring must not delay it.
    const Config config = m_parts.file.loadWithoutKey();
    if (config.duckEnabled) {
        m_parts.ducker.duckTo(static_cast<float>(config.duckVolume));
    }
    m_parts.hud.show();
    m_parts.board.updateIcon();
    const QString label = hotkeyFrom(config, m_parts.file.path()).label();
    m_parts.board.setStatusLine(t(u"Opnemen… "_s + label + u" = stop, Esc = annuleren"_s,
                                  u"Recording… "_s + label + u" = stop, Esc = cancel"_s));
    m_parts.routing.prepare();
}

void DictationSession::finishRecording()
{
    m_parts.file.beginLoad();  // The key is looked for while the last frames come.
    const QByteArray wav = m_parts.recorder.stop();
    m_parts.state.recording = false;
    m_parts.hud.hide();
    m_parts.ducker.restore();
    m_parts.sounds.play(sound(SoundCue::Stopped), 0.12F);

    const double duration = recordingSeconds(wav);
    if (duration < kShortestRecordingSeconds) {
        m_parts.board.updateIcon();
        m_parts.board.setStatusLine(t(u"Opname te kort"_s, u"Recording too short"_s));
        return;
    }
    if (judgePeak(m_parts.recorder.peakLevel()) != Heard::Speech) {
        rejectSilence();
        return;
    }
    transcribe(wav, duration);
}

void DictationSession::rejectSilence()
{
    m_parts.board.updateIcon();
    const float peak = m_parts.recorder.peakLevel();
    QString statusLine;
    if (judgePeak(peak) == Heard::NoSignal) {
        statusLine = t(u"Geen microfoonsignaal - gebruikt een andere app de microfoon?"_s,
                       u"No microphone signal - is another app using the mic?"_s);
        m_parts.msgHud.show(noSignalMessage(), 6.0);
    } else {
        statusLine = t(u"Geen spraak gehoord - niets verstuurd"_s, u"No speech detected - nothing sent"_s);
    }
    m_parts.log.appLog(u"Stilte gedetecteerd (piek "_s + shortestDecimal(peak) + u"), overgeslagen"_s);
    m_parts.board.setStatusLine(statusLine);
}

void DictationSession::transcribe(const QByteArray& wav, double durationSeconds)
{
    SessionState& state = m_parts.state;
    state.busy = true;
    if (state.busyToken == std::numeric_limits<std::int64_t>::max()) {
        qFatal("busyToken overflows");
    }
    const std::int64_t token = ++state.busyToken;
    m_parts.board.updateIcon();
    const QString seconds = QString::number(static_cast<qint64>(durationSeconds));
    m_parts.board.setStatusLine(
        t(u"Transcriberen… ("_s + seconds + u" sec audio)"_s, u"Transcribing… ("_s + seconds + u"s of audio)"_s));
    m_parts.log.appLog(u"Opname gestopt: "_s + seconds + u"s audio, start transcriptie"_s);
    m_parts.queue.postAfter(kWatchdogDelay, m_lifetime.reference(), [this, token] { watchdogFired(token); });

    if (const auto written = writeLastRecording(wav, m_parts.lastWavPath); !written) {
        m_parts.log.appLog(u"Laatste opname niet bewaard: "_s + written.error().description);
    }
    const Config config = m_parts.file.load();
    m_parts.board.noteKey(config);
    m_parts.routing.route(wav, config, durationSeconds);
}

void DictationSession::watchdogFired(std::int64_t token)
{
    if (!m_parts.state.busy || m_parts.state.busyToken != token) {
        return;
    }
    m_parts.state.busy = false;
    m_parts.board.updateIcon();
    m_parts.log.appLog(u"WAAKHOND: transcriptie hing, app vrijgegeven"_s);
    m_parts.sounds.play(sound(SoundCue::Alert), 0.5F);
    m_parts.board.setStatusLine(kWarning + t(u"Transcriptie duurde te lang en is afgebroken - opname is bewaard als "
                                             "laatste-opname.wav"_s,
                                             u"Transcription took too long and was aborted - the recording is saved as "
                                             "laatste-opname.wav"_s));
}

void DictationSession::cancelRecording()
{
    // A cancel that was queued before the recording ended comes too late to mean anything.
    if (!m_parts.state.recording) {
        return;
    }
    // The samples are dropped with the returned value.
    m_parts.recorder.stop();
    m_parts.state.recording = false;
    m_parts.hud.hide();
    m_parts.ducker.restore();
    m_parts.sounds.play(sound(SoundCue::Alert), 0.2F);
    m_parts.board.updateIcon();
    m_parts.board.setStatusLine(t(u"Opname geannuleerd"_s, u"Recording cancelled"_s));
}

void DictationSession::audioConfigurationChanged()
{
    if (!m_parts.state.recording) {
        return;
    }
    m_parts.log.appLog(u"Audio-apparaat gewisseld tijdens opname - opname gestopt"_s);
    cancelRecording();
    m_parts.msgHud.show(deviceChangedMessage(), 5.0);
    m_parts.board.setStatusLine(
        t(u"Audio-apparaat gewisseld - opname gestopt"_s, u"Audio device changed - recording stopped"_s));
}

void DictationSession::flashError(const QString& message)
{
    m_parts.sounds.play(sound(SoundCue::Alert), 0.5F);
    m_parts.board.setStatusLine(kWarning + message);
}

QString noSignalMessage()
{
    return t(
        u"Geen microfoonsignaal ontvangen. Gebruikt FaceTime, Zoom of Teams de microfoon? Beëindig het gesprek of geef "
        "Tavlo even de microfoon."_s,
        u"No microphone signal received. Is FaceTime, Zoom or Teams using the mic? End the call or let Tavlo use the "
        "microphone."_s);
}

QString deviceChangedMessage()
{
    return t(
        u"Je microfoon of audio-apparaat is gewisseld tijdens de opname. De opname is gestopt - druk op de sneltoets "
        "om opnieuw te beginnen."_s,
        u"Your microphone or audio device changed during recording. Recording stopped - press the hotkey to start "
        "again."_s);
}

}  // namespace tavlo

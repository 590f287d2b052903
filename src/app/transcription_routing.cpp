#include "app/transcription_routing.h"

#include "app/status_board.h"
#include "app/text_delivery.h"
#include "app/text_rules.h"
#include "audio/sound_cues.h"
#include "platform/queues.h"
#include "platform/sound_player.h"
#include "platform/text_literals.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/language.h"

namespace tavlo {

namespace {

QString cloudLabel(const Config& config)
{
    return config.providerName() + QLatin1Char(' ') + config.cloudModel();
}

enum class Key { Missing, Present };

bool goesToCloud(const Config& config, Key key)
{
    return config.engine == kEngineCloud || (config.engine == kEngineAuto && key == Key::Present);
}

}  // namespace

TranscriptionRouting::TranscriptionRouting(const RoutingParts& parts) : m_parts(parts) {}

void TranscriptionRouting::prepare()
{
    // By what is known of the key: the keyring is asked when the recording ends.
    const Config config = m_parts.file.loadWithoutKey();
    if (goesToCloud(config, m_parts.board.hasKey(config) ? Key::Present : Key::Missing)) {
        m_parts.cloud.warmUp();
    }
}

void TranscriptionRouting::route(const QByteArray& wav, const Config& config, double durationSeconds)
{
    if (goesToCloud(config, config.apiKey.isEmpty() ? Key::Missing : Key::Present)) {
        routeToCloud(wav, config, durationSeconds);
    } else {
        routeToLocal(config);
    }
}

void TranscriptionRouting::routeToCloud(const QByteArray& wav, const Config& config, double durationSeconds)
{
    auto completion = [this, &queue = m_parts.queue, owner = m_lifetime.reference(), config,
                       durationSeconds](TranscriptionResult result) {
        queue.post(owner, std::bind_front(&TranscriptionRouting::handleCloud, this, std::move(result), config,
                                          durationSeconds));
    };
    m_parts.cloud.transcribeCloud(wav, config, std::move(completion));
}

void TranscriptionRouting::handleCloud(const TranscriptionResult& result, const Config& config, double durationSeconds)
{
    const QString provider = config.providerName();
    if (!result) {
        m_parts.log.appLog(provider + u" mislukt: "_s + result.error().description + u" - fallback naar lokaal"_s);
        m_parts.board.setStatusLine(provider + t(u" niet bereikbaar - lokale Whisper als reserve…"_s,
                                                 u" unreachable - falling back to local Whisper…"_s));
        // Whether the model is installed is left to the local engine, whose failure the user then reads.
        runLocal(config, [this](const TranscriptionResult& local) { handleLocal(local); });
        return;
    }
    if (isSuspiciouslyShort(characterCount(*result), durationSeconds)) {
        crossCheck(*result, config, durationSeconds);
    } else {
        deliver(*result, cloudLabel(config));
    }
}

void TranscriptionRouting::crossCheck(const QString& cloudText, const Config& config, double durationSeconds)
{
    const int cloudCount = characterCount(cloudText);
    m_parts.log.appLog(u"Verdacht kort cloud-resultaat ("_s + QString::number(cloudCount) + u" tekens / "_s +
                       QString::number(static_cast<qint64>(durationSeconds)) + u"s) - lokale kruischeck"_s);
    m_parts.board.setStatusLine(
        t(u"Cloud gaf weinig terug - lokale controle…"_s, u"Cloud returned little - local cross-check…"_s));
    runLocal(config, [this, cloudText, cloudCount, label = cloudLabel(config)](const TranscriptionResult& local) {
        const int localCount = local ? characterCount(*local) : 0;
        // A local failure is not told: the cloud's text is there.
        if (!local || cloudCount >= localCount) {
            deliver(cloudText, label);
            return;
        }
        m_parts.log.appLog(u"Lokale kruischeck won: "_s + QString::number(localCount) + u" vs "_s +
                           QString::number(cloudCount) + u" tekens"_s);
        deliver(*local, t(u"lokale Whisper (cloud miste tekst)"_s, u"local Whisper (cloud dropped text)"_s));
    });
}

void TranscriptionRouting::routeToLocal(const Config& config)
{
    if (m_parts.local.localModelReady()) {
        runLocal(config, [this](const TranscriptionResult& local) { handleLocal(local); });
        return;
    }
    setReady();
    m_parts.board.setStatusLine(t(u"Offline model nog niet geïnstalleerd"_s, u"Offline model not installed yet"_s));
    m_parts.offer.offerModelDownload([this, owner = m_lifetime.reference(), config](ModelOutcome outcome) {
        if (outcome != ModelOutcome::Installed || owner.expired()) {
            return;
        }
        // The token stays: the watchdog of this recording still guards it.
        m_parts.state.busy = true;
        m_parts.board.updateIcon();
        m_parts.board.setStatusLine(t(u"Transcriberen…"_s, u"Transcribing…"_s));
        runLocal(config, [this](const TranscriptionResult& local) { handleLocal(local); });
    });
}

void TranscriptionRouting::runLocal(const Config& config, std::function<void(const TranscriptionResult&)> done)
{
    m_parts.background.run([&queue = m_parts.queue, &local = m_parts.local, owner = m_lifetime.reference(),
                            path = m_parts.lastWavPath, config, done = std::move(done)]() mutable {
        TranscriptionResult result = local.transcribeLocal(path, config);
        queue.post(std::move(owner), [result = std::move(result), done = std::move(done)] { done(result); });
    });
}

void TranscriptionRouting::handleLocal(const TranscriptionResult& result)
{
    if (result) {
        deliver(*result, t(u"lokale Whisper"_s, u"local Whisper"_s));
        return;
    }
    const QString& description = result.error().description;
    setReady();
    m_parts.log.appLog(u"Lokale transcriptie mislukt: "_s + description);
    m_parts.sounds.play(sound(SoundCue::Alert), 0.5F);
    m_parts.board.setStatusLine(u"⚠️ "_s + t(u"Mislukt: "_s, u"Failed: "_s) + description);
}

void TranscriptionRouting::deliver(const QString& text, const QString& engine)
{
    setReady();
    m_parts.log.appLog(u"Klaar via "_s + engine + u": "_s + QString::number(characterCount(text)) + u" tekens"_s);
    if (text.isEmpty()) {
        m_parts.board.setStatusLine(t(u"Geen spraak gedetecteerd"_s, u"No speech detected"_s));
        return;
    }
    if (isVocabularyEcho(text, m_parts.file.loadWithoutKey().vocabulary)) {
        m_parts.log.appLog(u"Woordenlijst-echo onderdrukt"_s);
        m_parts.board.setStatusLine(t(u"Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"_s,
                                      u"No speech detected (vocabulary echo suppressed)"_s));
        return;
    }
    m_parts.state.lastText = text;
    m_parts.board.setStatusLine(t(u"Geplakt via "_s + engine, u"Pasted via "_s + engine));
    m_parts.delivery.paste(text);
}

void TranscriptionRouting::setReady()
{
    m_parts.state.busy = false;
    m_parts.board.updateIcon();
}

}  // namespace tavlo

#include "app/transcription_routing.h"

#include "app/session_state.h"
#include "app/status_board.h"
#include "app/text_delivery.h"
#include "app/text_rules.h"
#include "platform/background_queue.h"
#include "platform/sound_player.h"
#include "settings/app_log.h"
#include "settings/config_file.h"
#include "settings/language.h"

namespace tavlo {

namespace {

QString cloudLabel(const Config& config)
{
    return config.providerName() + QLatin1Char(' ') + config.cloudModel();
}

bool goesToCloud(const Config& config)
{
    return config.engine == QLatin1String("openai") ||
           (config.engine == QLatin1String("auto") && !config.apiKey.isEmpty());
}

}  // namespace

TranscriptionRouting::TranscriptionRouting(const RoutingParts& parts) : m_parts(parts) {}

void TranscriptionRouting::prepare()
{
    if (goesToCloud(m_parts.file.load())) {
        m_parts.cloud.warmUp();
    }
}

void TranscriptionRouting::route(const QByteArray& wav, const Config& config, double durationSeconds)
{
    if (goesToCloud(config)) {
        routeToCloud(wav, config, durationSeconds);
    } else {
        routeToLocal(config);
    }
}

void TranscriptionRouting::routeToCloud(const QByteArray& wav, const Config& config, double durationSeconds)
{
    auto completion = [this, &queue = m_parts.queue, owner = m_lifetime.reference(), config,
                       durationSeconds](TranscriptionResult result) {
        queue.post(owner, [this, result = std::move(result), config, durationSeconds] {
            handleCloud(result, config, durationSeconds);
        });
    };
    m_parts.cloud.transcribeCloud(wav, config, std::move(completion));
}

void TranscriptionRouting::handleCloud(const TranscriptionResult& result, const Config& config, double durationSeconds)
{
    const QString provider = config.providerName();
    if (!result) {
        m_parts.log.appLog(provider + QStringLiteral(" mislukt: ") + result.error().description +
                           QStringLiteral(" - fallback naar lokaal"));
        m_parts.board.setStatusLine(provider + t(QStringLiteral(" niet bereikbaar - lokale Whisper als reserve…"),
                                                 QStringLiteral(" unreachable - falling back to local Whisper…")));
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
    m_parts.log.appLog(QStringLiteral("Verdacht kort cloud-resultaat (") + QString::number(cloudCount) +
                       QStringLiteral(" tekens / ") + QString::number(static_cast<qint64>(durationSeconds)) +
                       QStringLiteral("s) - lokale kruischeck"));
    m_parts.board.setStatusLine(t(QStringLiteral("Cloud gaf weinig terug - lokale controle…"),
                                  QStringLiteral("Cloud returned little - local cross-check…")));
    runLocal(config, [this, cloudText, cloudCount, label = cloudLabel(config)](const TranscriptionResult& local) {
        const int localCount = local ? characterCount(*local) : 0;
        // A local failure is not told: the cloud's text is there.
        if (!local || cloudCount >= localCount) {
            deliver(cloudText, label);
            return;
        }
        m_parts.log.appLog(QStringLiteral("Lokale kruischeck won: ") + QString::number(localCount) +
                           QStringLiteral(" vs ") + QString::number(cloudCount) + QStringLiteral(" tekens"));
        deliver(*local, t(QStringLiteral("lokale Whisper (cloud miste tekst)"),
                          QStringLiteral("local Whisper (cloud dropped text)")));
    });
}

void TranscriptionRouting::routeToLocal(const Config& config)
{
    if (m_parts.local.localModelReady()) {
        runLocal(config, [this](const TranscriptionResult& local) { handleLocal(local); });
        return;
    }
    setReady();
    m_parts.board.setStatusLine(
        t(QStringLiteral("Offline model nog niet geïnstalleerd"), QStringLiteral("Offline model not installed yet")));
    m_parts.offer.offerModelDownload([this, owner = m_lifetime.reference(), config](ModelOutcome outcome) {
        if (outcome != ModelOutcome::Installed || owner.expired()) {
            return;
        }
        // The token stays: the watchdog of this recording still guards it.
        m_parts.state.busy = true;
        m_parts.board.setIcon(QStringLiteral("hourglass"));
        m_parts.board.setStatusLine(t(QStringLiteral("Transcriberen…"), QStringLiteral("Transcribing…")));
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
        deliver(*result, t(QStringLiteral("lokale Whisper"), QStringLiteral("local Whisper")));
        return;
    }
    const QString& description = result.error().description;
    setReady();
    m_parts.log.appLog(QStringLiteral("Lokale transcriptie mislukt: ") + description);
    m_parts.sounds.playSound(QStringLiteral("Basso"), 0.5F);
    m_parts.board.setStatusLine(QStringLiteral("⚠️ ") + t(QStringLiteral("Mislukt: "), QStringLiteral("Failed: ")) +
                                description);
}

void TranscriptionRouting::deliver(const QString& text, const QString& engine)
{
    setReady();
    m_parts.log.appLog(QStringLiteral("Klaar via ") + engine + QStringLiteral(": ") +
                       QString::number(characterCount(text)) + QStringLiteral(" tekens"));
    if (text.isEmpty()) {
        m_parts.board.setStatusLine(
            t(QStringLiteral("Geen spraak gedetecteerd"), QStringLiteral("No speech detected")));
        return;
    }
    if (isVocabularyEcho(text, m_parts.file.loadWithoutKey().vocabulary)) {
        m_parts.log.appLog(QStringLiteral("Woordenlijst-echo onderdrukt"));
        m_parts.board.setStatusLine(t(QStringLiteral("Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"),
                                      QStringLiteral("No speech detected (vocabulary echo suppressed)")));
        return;
    }
    m_parts.state.lastText = text;
    m_parts.board.setStatusLine(t(QStringLiteral("Geplakt via ") + engine, QStringLiteral("Pasted via ") + engine));
    m_parts.delivery.paste(text);
}

void TranscriptionRouting::setReady()
{
    m_parts.state.busy = false;
    m_parts.board.setIcon(QStringLiteral("mic"));
}

}  // namespace tavlo

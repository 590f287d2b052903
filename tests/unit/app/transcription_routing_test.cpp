#include "desk.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

const QString kMic = QStringLiteral("mic");
const QString kHourglass = QStringLiteral("hourglass");

Error someError(const QString& description)
{
    return {QStringLiteral("Tavlo"), 500, description};
}

class TranscriptionRoutingTest : public testing::Test {
protected:
    TranscriptionRoutingTest() { desk.app->applicationDidFinishLaunching(); }

    void useCloud(const QByteArray& more = {})
    {
        desk.secrets.items[QStringLiteral("openai_api_key")] = "sk-test";
        desk.secrets.items[QStringLiteral("groq_api_key")] = "gsk-test";
        desk.writeSettings("{\"engine\": \"auto\"" + more + "}");
    }

    void dictate(int milliseconds)
    {
        desk.pressHotkey();
        desk.speak(milliseconds);
        desk.pressHotkey();
    }

    void cloudAnswers(TranscriptionResult result)
    {
        desk.cloud.completions.back()(std::move(result));
        desk.queue.runPending();
    }

    void cloudFails() { cloudAnswers(tl::unexpected<Error>(someError(QStringLiteral("OpenAI 500: kapot")))); }

    QStringList pasted()
    {
        desk.queue.advance(std::chrono::milliseconds(150));
        return desk.events.filter(QStringLiteral("paste: "));
    }

    QString status() const { return desk.app->statusLine(); }

    Desk desk;
};

TEST_F(TranscriptionRoutingTest, WithoutAKeyTheLocalEngineTranscribes)
{
    dictate(1000);
    EXPECT_TRUE(desk.cloud.completions.empty());
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geplakt via lokale Whisper"));
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Klaar via lokale Whisper: 12 tekens"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: goede morgen")});
    EXPECT_EQ(desk.statusItem.icon, kMic);
    EXPECT_FALSE(desk.app->isBusy());
}

TEST_F(TranscriptionRoutingTest, WithAKeyTheCloudTranscribes)
{
    useCloud();
    dictate(1000);
    ASSERT_EQ(desk.cloud.wavs.size(), 1U);
    EXPECT_EQ(desk.cloud.wavs.front().size(), 32044);
    EXPECT_EQ(desk.cloud.configs.front().apiKey, QStringLiteral("sk-test"));
    cloudAnswers(QStringLiteral("dag"));
    EXPECT_EQ(status(), QStringLiteral("Geplakt via OpenAI gpt-4o-transcribe"));
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Klaar via OpenAI gpt-4o-transcribe: 3 tekens"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: dag")});
    EXPECT_TRUE(desk.background.tasks.empty());
}

TEST_F(TranscriptionRoutingTest, TheCloudClientIsReadiedWhenARecordingBeginsThatWillGoThere)
{
    useCloud();
    desk.pressHotkey();
    EXPECT_EQ(desk.cloud.warmUps, 1);
    desk.pressEscape();
    desk.writeSettings(R"({"engine": "local"})");
    desk.pressHotkey();
    EXPECT_EQ(desk.cloud.warmUps, 1);
    desk.pressEscape();
    desk.secrets.items.clear();
    desk.writeSettings(R"({"engine": "auto"})");
    desk.pressHotkey();
    EXPECT_EQ(desk.cloud.warmUps, 1);
}

TEST_F(TranscriptionRoutingTest, TheEngineLabelOfGroqNamesItsModel)
{
    useCloud(R"(, "provider": "groq")");
    dictate(1000);
    cloudAnswers(QStringLiteral("dag"));
    EXPECT_EQ(status(), QStringLiteral("Geplakt via Groq whisper-large-v3-turbo"));
}

TEST_F(TranscriptionRoutingTest, EngineLocalIgnoresTheKey)
{
    useCloud(R"(, "engine": "local")");
    desk.writeSettings(R"({"engine": "local"})");
    dictate(1000);
    EXPECT_TRUE(desk.cloud.completions.empty());
    EXPECT_EQ(desk.background.tasks.size(), 1U);
}

TEST_F(TranscriptionRoutingTest, AnUnknownEngineIsLocal)
{
    useCloud();
    desk.writeSettings(R"({"engine": "OpenAI"})");
    dictate(1000);
    EXPECT_TRUE(desk.cloud.completions.empty());
    EXPECT_EQ(desk.background.tasks.size(), 1U);
}

TEST_F(TranscriptionRoutingTest, EngineOpenaiWithAnEmptyKeyStillCallsTheCloudAndFallsBack)
{
    desk.writeSettings(R"({"engine": "openai"})");
    dictate(1000);
    ASSERT_EQ(desk.cloud.completions.size(), 1U);
    cloudFails();
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: goede morgen")});
}

TEST_F(TranscriptionRoutingTest, ACloudFailureIsLoggedAndTheLocalEngineTakesOver)
{
    useCloud();
    dictate(1000);
    cloudFails();
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("OpenAI mislukt: OpenAI 500: kapot - fallback naar lokaal"));
    EXPECT_EQ(status(), QStringLiteral("OpenAI niet bereikbaar - lokale Whisper als reserve…"));
    EXPECT_EQ(desk.statusItem.icon, kHourglass);
    EXPECT_TRUE(desk.app->isBusy());
    EXPECT_TRUE(desk.events.filter(QStringLiteral("Basso")).isEmpty());
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geplakt via lokale Whisper"));
}

TEST_F(TranscriptionRoutingTest, TheFallbackRunsWithoutAskingForTheModelAndTellsItsFailure)
{
    useCloud();
    desk.local.modelReady = false;
    desk.local.result = failure(3, QStringLiteral("Het offline taalmodel is nog niet gedownload."));
    dictate(1000);
    cloudFails();
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("⚠️ Mislukt: Het offline taalmodel is nog niet gedownload."));
    EXPECT_EQ(desk.log.lines().last(),
              QStringLiteral("Lokale transcriptie mislukt: Het offline taalmodel is nog niet gedownload."));
    EXPECT_EQ(desk.events.last(), QStringLiteral("Basso 0.5"));
    EXPECT_EQ(desk.statusItem.icon, kMic);
    EXPECT_FALSE(desk.app->isBusy());
    EXPECT_FALSE(desk.offer.completion);
    EXPECT_TRUE(pasted().isEmpty());
}

TEST_F(TranscriptionRoutingTest, ATenSecondRecordingNeverGetsTheCrossCheckButALongerOneDoes)
{
    useCloud();
    dictate(10'000);
    cloudAnswers(QStringLiteral("kort"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: kort")});
    dictate(10'500);
    cloudAnswers(QString(31, QLatin1Char('a')));
    EXPECT_EQ(desk.log.lines().last(),
              QStringLiteral("Verdacht kort cloud-resultaat (31 tekens / 10s) - lokale kruischeck"));
    EXPECT_EQ(status(), QStringLiteral("Cloud gaf weinig terug - lokale controle…"));
    EXPECT_TRUE(desk.app->isBusy());
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckALongerLocalTextWins)
{
    useCloud();
    desk.local.result = QStringLiteral("abcdefghij");
    dictate(11'000);
    cloudAnswers(QStringLiteral("abcde"));
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geplakt via lokale Whisper (cloud miste tekst)"));
    EXPECT_TRUE(desk.log.lines().contains(QStringLiteral("Lokale kruischeck won: 10 vs 5 tekens")));
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Klaar via lokale Whisper (cloud miste tekst): 10 tekens"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: abcdefghij")});
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckTheCloudTextWinsATie)
{
    useCloud();
    desk.local.result = QStringLiteral("ABCDE");
    dictate(11'000);
    cloudAnswers(QStringLiteral("abcde"));
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geplakt via OpenAI gpt-4o-transcribe"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: abcde")});
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckALocalFailureIsNotTold)
{
    useCloud();
    desk.local.result = failure(2, QStringLiteral("whisper-cli stopte met code 2."));
    dictate(11'000);
    cloudAnswers(QStringLiteral("abcde"));
    const auto lines = desk.log.lines().size();
    desk.runBackground();
    EXPECT_EQ(desk.log.lines().size(), lines + 1);
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Klaar via OpenAI gpt-4o-transcribe: 5 tekens"));
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: abcde")});
    EXPECT_TRUE(desk.events.filter(QStringLiteral("Basso")).isEmpty());
}

TEST_F(TranscriptionRoutingTest, CharactersAreCountedAsTheUserSeesThem)
{
    useCloud();
    // Ten family pictures of eight code units each: ten characters, too few for eleven seconds.
    dictate(11'000);
    cloudAnswers(QStringLiteral("👩‍👩‍👧").repeated(10));
    EXPECT_EQ(desk.log.lines().last(),
              QStringLiteral("Verdacht kort cloud-resultaat (10 tekens / 11s) - lokale kruischeck"));
}

TEST_F(TranscriptionRoutingTest, AutoWithoutKeyAndModelOffersTheDownload)
{
    desk.local.modelReady = false;
    dictate(1000);
    EXPECT_EQ(status(), QStringLiteral("Offline model nog niet geïnstalleerd"));
    EXPECT_EQ(desk.statusItem.icon, kMic);
    EXPECT_FALSE(desk.app->isBusy());
    ASSERT_TRUE(desk.offer.completion);
    desk.offer.completion(ModelOutcome::Declined);
    EXPECT_EQ(status(), QStringLiteral("Offline model nog niet geïnstalleerd"));
    EXPECT_TRUE(desk.background.tasks.empty());
}

TEST_F(TranscriptionRoutingTest, AnInstalledModelTranscribesTheRecordingThatWaited)
{
    desk.local.modelReady = false;
    dictate(1000);
    desk.local.modelReady = true;
    desk.offer.completion(ModelOutcome::Installed);
    EXPECT_EQ(status(), QStringLiteral("Transcriberen…"));
    EXPECT_EQ(desk.statusItem.icon, kHourglass);
    EXPECT_TRUE(desk.app->isBusy());
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: goede morgen")});
}

TEST_F(TranscriptionRoutingTest, TheOldWatchdogStillGuardsATranscriptionAfterAnAcceptedOffer)
{
    desk.local.modelReady = false;
    dictate(1000);
    desk.queue.advance(std::chrono::seconds(100));
    desk.offer.completion(ModelOutcome::Installed);
    desk.queue.advance(std::chrono::seconds(20));
    EXPECT_FALSE(desk.app->isBusy());
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("WAAKHOND: transcriptie hing, app vrijgegeven"));
}

TEST_F(TranscriptionRoutingTest, AfterTheOldWatchdogHasFiredAnAcceptedOfferIsGuardedByNone)
{
    desk.local.modelReady = false;
    dictate(1000);
    desk.queue.advance(std::chrono::seconds(121));
    EXPECT_FALSE(desk.log.lines().contains(QStringLiteral("WAAKHOND: transcriptie hing, app vrijgegeven")));
    desk.offer.completion(ModelOutcome::Installed);
    desk.queue.advance(std::chrono::seconds(300));
    EXPECT_TRUE(desk.app->isBusy());
}

TEST_F(TranscriptionRoutingTest, AnEmptyTextIsNoSpeech)
{
    desk.local.result = QString();
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geen spraak gedetecteerd"));
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Klaar via lokale Whisper: 0 tekens"));
    EXPECT_TRUE(pasted().isEmpty());
}

TEST_F(TranscriptionRoutingTest, ATranscriptOfWhiteSpaceIsPastedAsItIs)
{
    desk.local.result = QStringLiteral(" \n ");
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste:  \n ")});
}

TEST_F(TranscriptionRoutingTest, AVocabularyEchoIsSuppressedAndPasteAgainPastesTheTextBefore)
{
    dictate(1000);
    desk.runBackground();
    desk.queue.advance(std::chrono::seconds(1));
    desk.take(desk.events);
    desk.writeSettings(R"({"vocabulary": "Kubernetes, PostgreSQL, Grafana"})");
    desk.local.result = QStringLiteral(" kubernetes, postgresql, grafana.");
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"));
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Woordenlijst-echo onderdrukt"));
    EXPECT_TRUE(pasted().isEmpty());
    desk.app->perform(MenuAction::PasteAgain, {});
    EXPECT_EQ(pasted(), QStringList{QStringLiteral("paste: goede morgen")});
}

TEST_F(TranscriptionRoutingTest, TheSettingsAreReadAfreshForTheEchoTest)
{
    desk.local.result = QStringLiteral("kubernetes, postgresql, grafana.");
    dictate(1000);
    desk.writeSettings(R"({"vocabulary": "Kubernetes, PostgreSQL, Grafana"})");
    desk.runBackground();
    EXPECT_EQ(status(), QStringLiteral("Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"));
}

TEST_F(TranscriptionRoutingTest, NoTranscriptAndNoKeyReachesTheLog)
{
    useCloud();
    dictate(1000);
    cloudAnswers(QStringLiteral("geheime woorden"));
    const QString log = desk.log.lines().join(QLatin1Char('\n'));
    EXPECT_FALSE(log.contains(QStringLiteral("geheime")));
    EXPECT_FALSE(log.contains(QStringLiteral("sk-test")));
}

TEST_F(TranscriptionRoutingTest, AResultForAnApplicationThatIsGoneIsDropped)
{
    useCloud();
    dictate(1000);
    const auto completion = desk.cloud.completions.back();
    desk.app.reset();
    desk.take(desk.events);
    completion(QStringLiteral("te laat"));
    desk.queue.advance(std::chrono::seconds(200));
    EXPECT_TRUE(desk.events.isEmpty());
}

}  // namespace
}  // namespace tavlo

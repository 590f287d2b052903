#include "desk.h"
#include "platform/text_literals.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

Error someError(const QString& description)
{
    return {u"Tavlo"_s, 500, description};
}

class TranscriptionRoutingTest : public testing::Test {
protected:
    TranscriptionRoutingTest() { desk.app->applicationDidFinishLaunching(); }

    void useCloud(const QByteArray& more = {})
    {
        desk.storeKey(u"openai_api_key"_s, "sk-test");
        desk.storeKey(u"groq_api_key"_s, "gsk-test");
        desk.writeSettings("{\"engine\": \"auto\"" + more + "}");
        desk.keyringChanged();
    }

    void dictate(int milliseconds)
    {
        desk.pressHotkey();
        desk.speak(milliseconds);
        desk.pressHotkey();
    }

    void cloudAnswers(TranscriptionResult result)
    {
        desk.cloud.answer(std::move(result));
        desk.queue.runPending();
    }

    void cloudFails() { cloudAnswers(tl::unexpected<Error>(someError(u"OpenAI 500: kapot"_s))); }

    QStringList pasted()
    {
        desk.queue.advance(std::chrono::milliseconds(150));
        return desk.events.filter(u"paste: "_s);
    }

    QString status() const { return desk.app->state().statusLine; }

    Desk desk;
};

TEST_F(TranscriptionRoutingTest, WithoutAKeyTheLocalEngineTranscribes)
{
    dictate(1000);
    EXPECT_EQ(desk.cloud.waitingCount(), 0U);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geplakt via lokale Whisper"_s);
    EXPECT_EQ(desk.log.lines().last(), u"Klaar via lokale Whisper: 12 tekens"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: goede morgen"_s});
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.app->state().busy);
}

TEST_F(TranscriptionRoutingTest, WithAKeyTheCloudTranscribes)
{
    useCloud();
    dictate(1000);
    ASSERT_EQ(desk.cloud.requests.size(), 1U);
    EXPECT_EQ(desk.cloud.requests.front().wav.size(), 32044);
    EXPECT_EQ(desk.cloud.requests.front().config.apiKey, u"sk-test"_s);
    cloudAnswers(u"dag"_s);
    EXPECT_EQ(status(), u"Geplakt via OpenAI gpt-4o-transcribe"_s);
    EXPECT_EQ(desk.log.lines().last(), u"Klaar via OpenAI gpt-4o-transcribe: 3 tekens"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: dag"_s});
    EXPECT_EQ(desk.background.waitingCount(), 0U);
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
    desk.keyringChanged();
    desk.writeSettings(R"({"engine": "auto"})");
    desk.pressHotkey();
    EXPECT_EQ(desk.cloud.warmUps, 1);
    desk.pressEscape();
    desk.writeSettings(R"({"engine": "openai"})");
    desk.pressHotkey();
    EXPECT_EQ(desk.cloud.warmUps, 2);
}

TEST_F(TranscriptionRoutingTest, TheEngineLabelOfGroqNamesItsModel)
{
    useCloud(R"(, "provider": "groq")");
    dictate(1000);
    cloudAnswers(u"dag"_s);
    EXPECT_EQ(status(), u"Geplakt via Groq whisper-large-v3-turbo"_s);
}

TEST_F(TranscriptionRoutingTest, EngineLocalIgnoresTheKey)
{
    useCloud(R"(, "engine": "local")");
    desk.writeSettings(R"({"engine": "local"})");
    dictate(1000);
    EXPECT_EQ(desk.cloud.waitingCount(), 0U);
    EXPECT_EQ(desk.background.waitingCount(), 1U);
}

TEST_F(TranscriptionRoutingTest, AnUnknownEngineIsLocal)
{
    useCloud();
    desk.writeSettings(R"({"engine": "OpenAI"})");
    dictate(1000);
    EXPECT_EQ(desk.cloud.waitingCount(), 0U);
    EXPECT_EQ(desk.background.waitingCount(), 1U);
}

TEST_F(TranscriptionRoutingTest, EngineOpenaiWithAnEmptyKeyStillCallsTheCloudAndFallsBack)
{
    desk.writeSettings(R"({"engine": "openai"})");
    dictate(1000);
    ASSERT_EQ(desk.cloud.waitingCount(), 1U);
    cloudFails();
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{u"paste: goede morgen"_s});
}

TEST_F(TranscriptionRoutingTest, EngineOpenaiMeansTheCloudOfWhicheverProvider)
{
    useCloud();
    desk.writeSettings(R"({"engine": "openai", "provider": "groq"})");
    dictate(1000);
    ASSERT_EQ(desk.cloud.requests.size(), 1U);
    EXPECT_TRUE(desk.cloud.requests.front().config.isGroq());
    EXPECT_EQ(desk.cloud.requests.front().config.apiKey, u"gsk-test"_s);
    EXPECT_TRUE(desk.background.waitingCount() == 0);
    cloudAnswers(u"dag"_s);
    EXPECT_EQ(status(), u"Geplakt via Groq whisper-large-v3-turbo"_s);
}

TEST_F(TranscriptionRoutingTest, ACloudFailureIsLoggedAndTheLocalEngineTakesOver)
{
    useCloud();
    dictate(1000);
    cloudFails();
    EXPECT_EQ(desk.log.lines().last(), u"OpenAI mislukt: OpenAI 500: kapot - fallback naar lokaal"_s);
    EXPECT_EQ(status(), u"OpenAI niet bereikbaar - lokale Whisper als reserve…"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Transcribing);
    EXPECT_TRUE(desk.app->state().busy);
    EXPECT_TRUE(desk.events.filter(u"Basso"_s).isEmpty());
    desk.runBackground();
    EXPECT_EQ(status(), u"Geplakt via lokale Whisper"_s);
}

TEST_F(TranscriptionRoutingTest, TheFallbackRunsWithoutAskingForTheModelAndTellsItsFailure)
{
    useCloud();
    desk.local.setReady(false);
    desk.local.setResult(failure(3, u"Het offline taalmodel is nog niet gedownload."_s));
    dictate(1000);
    cloudFails();
    desk.runBackground();
    EXPECT_EQ(status(), u"⚠️ Mislukt: Het offline taalmodel is nog niet gedownload."_s);
    EXPECT_EQ(desk.log.lines().last(), u"Lokale transcriptie mislukt: Het offline taalmodel is nog niet gedownload."_s);
    EXPECT_EQ(desk.events.last(), u"Basso 0.5"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_FALSE(desk.offer.isOpen());
    EXPECT_TRUE(pasted().isEmpty());
}

TEST_F(TranscriptionRoutingTest, ATenSecondRecordingNeverGetsTheCrossCheckButALongerOneDoes)
{
    useCloud();
    dictate(10'000);
    cloudAnswers(u"kort"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: kort"_s});
    dictate(10'500);
    cloudAnswers(QString(31, QLatin1Char('a')));
    EXPECT_EQ(desk.log.lines().last(), u"Verdacht kort cloud-resultaat (31 tekens / 10s) - lokale kruischeck"_s);
    EXPECT_EQ(status(), u"Cloud gaf weinig terug - lokale controle…"_s);
    EXPECT_TRUE(desk.app->state().busy);
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckALongerLocalTextWins)
{
    useCloud();
    desk.local.setResult(u"abcdefghij"_s);
    dictate(11'000);
    cloudAnswers(u"abcde"_s);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geplakt via lokale Whisper (cloud miste tekst)"_s);
    EXPECT_TRUE(desk.log.lines().contains(u"Lokale kruischeck won: 10 vs 5 tekens"_s));
    EXPECT_EQ(desk.log.lines().last(), u"Klaar via lokale Whisper (cloud miste tekst): 10 tekens"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: abcdefghij"_s});
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckTheCloudTextWinsATie)
{
    useCloud();
    desk.local.setResult(u"ABCDE"_s);
    dictate(11'000);
    cloudAnswers(u"abcde"_s);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geplakt via OpenAI gpt-4o-transcribe"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: abcde"_s});
}

TEST_F(TranscriptionRoutingTest, InTheCrossCheckALocalFailureIsNotTold)
{
    useCloud();
    desk.local.setResult(failure(2, u"whisper-cli stopte met code 2."_s));
    dictate(11'000);
    cloudAnswers(u"abcde"_s);
    const auto lines = desk.log.lines().size();
    desk.runBackground();
    EXPECT_EQ(desk.log.lines().size(), lines + 1);
    EXPECT_EQ(desk.log.lines().last(), u"Klaar via OpenAI gpt-4o-transcribe: 5 tekens"_s);
    EXPECT_EQ(pasted(), QStringList{u"paste: abcde"_s});
    EXPECT_TRUE(desk.events.filter(u"Basso"_s).isEmpty());
}

TEST_F(TranscriptionRoutingTest, CharactersAreCountedAsTheUserSeesThem)
{
    useCloud();
    // Ten family pictures of eight code units each: ten characters, too few for eleven seconds.
    dictate(11'000);
    cloudAnswers(u"👩‍👩‍👧"_s.repeated(10));
    EXPECT_EQ(desk.log.lines().last(), u"Verdacht kort cloud-resultaat (10 tekens / 11s) - lokale kruischeck"_s);
}

TEST_F(TranscriptionRoutingTest, AutoWithoutKeyAndModelOffersTheDownload)
{
    desk.local.setReady(false);
    dictate(1000);
    EXPECT_EQ(status(), u"Offline model nog niet geïnstalleerd"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.app->state().busy);
    ASSERT_TRUE(desk.offer.isOpen());
    desk.offer.answer(ModelOutcome::Declined);
    EXPECT_EQ(status(), u"Offline model nog niet geïnstalleerd"_s);
    EXPECT_EQ(desk.background.waitingCount(), 0U);
}

TEST_F(TranscriptionRoutingTest, AnInstalledModelTranscribesTheRecordingThatWaited)
{
    desk.local.setReady(false);
    dictate(1000);
    desk.local.setReady(true);
    desk.offer.answer(ModelOutcome::Installed);
    EXPECT_EQ(status(), u"Transcriberen…"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Transcribing);
    EXPECT_TRUE(desk.app->state().busy);
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{u"paste: goede morgen"_s});
}

TEST_F(TranscriptionRoutingTest, TheOldWatchdogStillGuardsATranscriptionAfterAnAcceptedOffer)
{
    desk.local.setReady(false);
    dictate(1000);
    desk.queue.advance(std::chrono::seconds(100));
    desk.offer.answer(ModelOutcome::Installed);
    desk.queue.advance(std::chrono::seconds(20));
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_EQ(desk.log.lines().last(), u"WAAKHOND: transcriptie hing, app vrijgegeven"_s);
}

TEST_F(TranscriptionRoutingTest, AfterTheOldWatchdogHasFiredAnAcceptedOfferIsGuardedByNone)
{
    desk.local.setReady(false);
    dictate(1000);
    desk.queue.advance(std::chrono::seconds(121));
    EXPECT_FALSE(desk.log.lines().contains(u"WAAKHOND: transcriptie hing, app vrijgegeven"_s));
    desk.offer.answer(ModelOutcome::Installed);
    desk.queue.advance(std::chrono::seconds(300));
    EXPECT_TRUE(desk.app->state().busy);
}

TEST_F(TranscriptionRoutingTest, AnEmptyTextIsNoSpeech)
{
    desk.local.setResult(QString());
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geen spraak gedetecteerd"_s);
    EXPECT_EQ(desk.log.lines().last(), u"Klaar via lokale Whisper: 0 tekens"_s);
    EXPECT_TRUE(pasted().isEmpty());
}

TEST_F(TranscriptionRoutingTest, ATranscriptOfWhiteSpaceIsPastedAsItIs)
{
    desk.local.setResult(u" \n "_s);
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(pasted(), QStringList{u"paste:  \n "_s});
}

TEST_F(TranscriptionRoutingTest, AVocabularyEchoIsSuppressedAndPasteAgainPastesTheTextBefore)
{
    dictate(1000);
    desk.runBackground();
    desk.queue.advance(std::chrono::seconds(1));
    desk.take(desk.events);
    desk.writeSettings(R"({"vocabulary": "Kubernetes, PostgreSQL, Grafana"})");
    desk.local.setResult(u" kubernetes, postgresql, grafana."_s);
    dictate(1000);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"_s);
    EXPECT_EQ(desk.log.lines().last(), u"Woordenlijst-echo onderdrukt"_s);
    EXPECT_TRUE(pasted().isEmpty());
    desk.choose(MenuAction::PasteAgain);
    EXPECT_EQ(pasted(), QStringList{u"paste: goede morgen"_s});
}

TEST_F(TranscriptionRoutingTest, TheSettingsAreReadAfreshForTheEchoTest)
{
    desk.local.setResult(u"kubernetes, postgresql, grafana."_s);
    dictate(1000);
    desk.writeSettings(R"({"vocabulary": "Kubernetes, PostgreSQL, Grafana"})");
    desk.runBackground();
    EXPECT_EQ(status(), u"Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)"_s);
}

TEST_F(TranscriptionRoutingTest, NoTranscriptAndNoKeyReachesTheLog)
{
    useCloud();
    dictate(1000);
    cloudAnswers(u"geheime woorden"_s);
    const QString log = desk.log.lines().join(QLatin1Char('\n'));
    EXPECT_FALSE(log.contains(u"geheime"_s));
    EXPECT_FALSE(log.contains(u"sk-test"_s));
}

// What an engine or the user answers after the application object has gone changes nothing.
class AfterTheEnd : public TranscriptionRoutingTest {
protected:
    void end()
    {
        desk.app.reset();
        desk.take(desk.events);
        m_log = desk.log.lines();
        m_builds = desk.statusItem.menuCount;
        m_icon = desk.statusItem.icon();
    }

    void expectSilence()
    {
        desk.runBackground();
        desk.queue.advance(std::chrono::seconds(200));
        EXPECT_TRUE(desk.events.isEmpty()) << desk.events.join(u", "_s).toStdString();
        EXPECT_EQ(desk.log.lines(), m_log);
        EXPECT_EQ(desk.statusItem.menuCount, m_builds);
        EXPECT_EQ(desk.statusItem.icon(), m_icon);
        EXPECT_TRUE(desk.pasteboard.texts.isEmpty());
    }

private:
    QStringList m_log;
    int m_builds = 0;
    std::optional<Activity> m_icon;
};

TEST_F(AfterTheEnd, ACloudTextIsDropped)
{
    useCloud();
    dictate(1000);
    end();
    desk.cloud.answer(u"te laat"_s);
    expectSilence();
}

TEST_F(AfterTheEnd, ACloudTextThatWasPostedBeforeIsDropped)
{
    useCloud();
    dictate(1000);
    desk.cloud.answer(u"te laat"_s);
    end();
    expectSilence();
}

TEST_F(AfterTheEnd, ACloudFailureStartsNoFallback)
{
    useCloud();
    dictate(1000);
    end();
    desk.cloud.answer(tl::unexpected<Error>(someError(u"OpenAI 500: kapot"_s)));
    expectSilence();
    EXPECT_TRUE(desk.local.wavPaths().isEmpty());
}

TEST_F(AfterTheEnd, ALocalTextIsDropped)
{
    dictate(1000);
    ASSERT_EQ(desk.background.waitingCount(), 1U);
    end();
    expectSilence();
    EXPECT_EQ(desk.local.wavPaths().size(), 1);
}

TEST_F(AfterTheEnd, ALocalFailureIsNotTold)
{
    desk.local.setResult(failure(2, u"whisper-cli stopte met code 2."_s));
    dictate(1000);
    end();
    expectSilence();
}

TEST_F(AfterTheEnd, AFallbackThatRunsIsDropped)
{
    useCloud();
    dictate(1000);
    cloudFails();
    ASSERT_EQ(desk.background.waitingCount(), 1U);
    end();
    expectSilence();
}

TEST_F(AfterTheEnd, ACrossCheckThatRunsIsDropped)
{
    useCloud();
    dictate(11'000);
    cloudAnswers(u"kort"_s);
    ASSERT_EQ(desk.background.waitingCount(), 1U);
    end();
    expectSilence();
}

TEST_F(AfterTheEnd, AnAcceptedOfferTranscribesNothing)
{
    desk.local.setReady(false);
    dictate(1000);
    ASSERT_TRUE(desk.offer.isOpen());
    end();
    desk.local.setReady(true);
    desk.offer.answer(ModelOutcome::Installed);
    EXPECT_TRUE(desk.background.waitingCount() == 0);
    expectSilence();
}

TEST_F(AfterTheEnd, ADeclinedOfferChangesNothing)
{
    desk.local.setReady(false);
    dictate(1000);
    ASSERT_TRUE(desk.offer.isOpen());
    end();
    desk.offer.answer(ModelOutcome::Declined);
    expectSilence();
}

TEST_F(AfterTheEnd, AChordThatWaitsIsNotTyped)
{
    dictate(1000);
    desk.runBackground();
    ASSERT_EQ(desk.events.last(), u"clipboard: goede morgen"_s);
    end();
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_TRUE(desk.events.isEmpty());
}

}  // namespace
}  // namespace tavlo

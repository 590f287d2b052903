#include "desk.h"
#include "platform/text_literals.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <limits>

namespace tavlo {
namespace {

class DictationSessionTest : public testing::Test {
protected:
    DictationSessionTest() { desk.app->applicationDidFinishLaunching(); }

    // Speaks exactly this many PCM bytes of speech between two presses of the hotkey.
    void dictateBytes(int bytes, float amplitude = 0.5F)
    {
        desk.pressHotkey();
        std::vector<float> samples(static_cast<std::size_t>(bytes / 2));
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = (i / 20) % 2 == 0 ? amplitude : -amplitude;
        }
        desk.input.deliver({*desk.input.inputFormat(), samples.data(), samples.size()});
        desk.queue.runPending();
        desk.pressHotkey();
    }

    // The amplitude of a square wave whose level on the recorder's scale is `level`.
    static float amplitudeOf(double level) { return static_cast<float>(std::pow(10.0, (level * 50.0 - 50.0) / 20.0)); }

    QString status() const { return desk.app->state().statusLine; }

    Desk desk;
};

TEST_F(DictationSessionTest, StartPlaysPopShowsTheOverlayAndTellsHowToStop)
{
    desk.pressHotkey();
    EXPECT_EQ(desk.take(desk.events), QStringList{u"Pop 0.15"_s});
    EXPECT_TRUE(desk.hud.visible);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Recording);
    EXPECT_EQ(status(), u"Opnemen… Rechter ⌘ Command = stop, Esc = annuleren"_s);
    EXPECT_EQ(desk.menuTitles().first(), status());
    EXPECT_NE(desk.menuItem(u"Stop opname"_s), nullptr);
    EXPECT_TRUE(desk.log.lines().isEmpty());
}

TEST_F(DictationSessionTest, StartSpeaksEnglishInTheEnglishInterface)
{
    gLang = u"en"_s;
    desk.pressHotkey();
    EXPECT_EQ(status(), u"Recording… Right ⌘ Command = stop, Esc = cancel"_s);
}

TEST_F(DictationSessionTest, StartDucksTheVolumeWhenThatIsEnabled)
{
    desk.pressHotkey();
    desk.queue.advance(std::chrono::milliseconds(450));
    EXPECT_FLOAT_EQ(desk.volume(), 0.08F);
    desk.pressEscape();
    desk.queue.advance(std::chrono::milliseconds(450));
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
}

TEST_F(DictationSessionTest, StartLeavesTheVolumeWhenDuckingIsDisabled)
{
    desk.writeSettings(R"({"duck_enabled": false})");
    desk.pressHotkey();
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
}

TEST_F(DictationSessionTest, AMicrophoneThatDoesNotStartLeavesTheApplicationReady)
{
    desk.input.noMicrophone();
    const int builds = desk.statusItem.menuCount;
    desk.pressHotkey();
    EXPECT_EQ(status(), u"⚠️ Microfoon: Geen microfoon beschikbaar (of geen toestemming)."_s);
    EXPECT_EQ(desk.take(desk.events), QStringList{u"Basso 0.5"_s});
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.hud.visible);
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
    EXPECT_GT(desk.statusItem.menuCount, builds);
    EXPECT_TRUE(desk.log.lines().isEmpty());
    gLang = u"en"_s;
    desk.pressHotkey();
    EXPECT_EQ(status(), u"⚠️ Microphone: Geen microfoon beschikbaar (of geen toestemming)."_s);
}

TEST_F(DictationSessionTest, ARecordingOf12799BytesIsTooShortAnd12800BytesGoOn)
{
    dictateBytes(12798);
    EXPECT_EQ(status(), u"Opname te kort"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_TRUE(desk.log.lines().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(desk.locations.kLastWavURL));
    dictateBytes(12800);
    EXPECT_TRUE(desk.app->state().busy);
}

TEST_F(DictationSessionTest, FinishHidesTheOverlayRestoresTheVolumeAndPlaysTinkBeforeAnyCheck)
{
    dictateBytes(1000);
    EXPECT_EQ(desk.events, (QStringList{u"Pop 0.15"_s, u"Tink 0.12"_s}));
    EXPECT_FALSE(desk.hud.visible);
    desk.queue.advance(std::chrono::milliseconds(450));
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
}

TEST_F(DictationSessionTest, TheKeyIsLookedForFromTheSecondPressOn)
{
    desk.choose(MenuAction::MenuToggle);
    EXPECT_TRUE(desk.secrets.begunFor.isEmpty());
    desk.choose(MenuAction::MenuToggle);
    EXPECT_EQ(desk.secrets.begunFor, QStringList(u"openai_api_key"_s));
}

TEST_F(DictationSessionTest, ASoundJustAboveThePeakOfSpeechIsTranscribedAndOneJustBelowIsNot)
{
    dictateBytes(16000, amplitudeOf(0.181));
    EXPECT_TRUE(desk.app->state().busy);
    desk.runBackground();
    dictateBytes(16000, amplitudeOf(0.179));
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_EQ(status(), u"Geen spraak gehoord - niets verstuurd"_s);
}

TEST_F(DictationSessionTest, SilenceIsToldAndLoggedAndSentNowhere)
{
    dictateBytes(32000, amplitudeOf(0.1));
    EXPECT_EQ(status(), u"Geen spraak gehoord - niets verstuurd"_s);
    ASSERT_EQ(desk.log.lines().size(), 1);
    EXPECT_TRUE(desk.log.lines().first().startsWith(u"Stilte gedetecteerd (piek 0."_s));
    EXPECT_TRUE(desk.log.lines().first().endsWith(u"), overgeslagen"_s));
    EXPECT_TRUE(desk.msgHud.texts().isEmpty());
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_FALSE(QFileInfo::exists(desk.locations.kLastWavURL));
    EXPECT_EQ(desk.background.waitingCount(), 0U);
}

TEST_F(DictationSessionTest, NoSignalAtAllIsToldByAMessageForSixSeconds)
{
    dictateBytes(32000, 0.0F);
    EXPECT_EQ(status(), u"Geen microfoonsignaal - gebruikt een andere app de microfoon?"_s);
    EXPECT_EQ(desk.msgHud.texts(), QStringList{u"Geen microfoonsignaal ontvangen. Gebruikt FaceTime, Zoom of Teams de "
                                               "microfoon? Beëindig het gesprek of geef Tavlo even de microfoon."_s});
    EXPECT_EQ(desk.msgHud.messages.back().autoHideSeconds, 6.0);
    EXPECT_EQ(desk.log.lines(), QStringList{u"Stilte gedetecteerd (piek 0.0), overgeslagen"_s});
}

TEST_F(DictationSessionTest, ASoundJustAboveNoSignalIsNoSpeechAndOneJustBelowIsNoSignal)
{
    dictateBytes(16000, amplitudeOf(0.011));
    EXPECT_EQ(status(), u"Geen spraak gehoord - niets verstuurd"_s);
    dictateBytes(16000, amplitudeOf(0.009));
    EXPECT_TRUE(status().startsWith(u"Geen microfoonsignaal"_s));
}

TEST_F(DictationSessionTest, NineTenthsOfASecondOfSpeechShowZeroSeconds)
{
    gLang = u"en"_s;
    dictateBytes(28800);
    EXPECT_EQ(status(), u"Transcribing… (0s of audio)"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Transcribing);
    EXPECT_EQ(desk.log.lines(), QStringList{u"Opname gestopt: 0s audio, start transcriptie"_s});
}

TEST_F(DictationSessionTest, TheRecordingIsSavedAsAWavFileBeforeAnyEngineRuns)
{
    dictateBytes(32000);
    QFile wav(desk.locations.kLastWavURL);
    ASSERT_TRUE(wav.open(QIODevice::ReadOnly));
    EXPECT_EQ(wav.size(), 32044);
    EXPECT_EQ(wav.read(4), "RIFF");
    EXPECT_TRUE(desk.local.wavPaths().isEmpty());
    desk.runBackground();
    EXPECT_EQ(desk.local.wavPaths(), QStringList{desk.locations.kLastWavURL});
    EXPECT_TRUE(QFileInfo::exists(desk.locations.kLastWavURL));
}

TEST_F(DictationSessionTest, ALastRecordingThatCannotBeWrittenIsLoggedAndTheOldOneIsGone)
{
    dictateBytes(32000);
    desk.runBackground();
    ASSERT_TRUE(QFileInfo::exists(desk.locations.kLastWavURL));
    // A folder where the file should stand cannot be replaced by it.
    QFile::remove(desk.locations.kLastWavURL);
    QDir().mkpath(desk.locations.kLastWavURL + u"/in the way"_s);
    dictateBytes(32000);
    EXPECT_TRUE(desk.log.lines().last().startsWith(u"Laatste opname niet bewaard: "_s));
    EXPECT_TRUE(desk.app->state().busy);
}

TEST_F(DictationSessionTest, MenuToggleDoesNothingWhileBusy)
{
    dictateBytes(32000);
    desk.take(desk.events);
    const QString before = status();
    const int builds = desk.statusItem.menuCount;
    desk.choose(MenuAction::MenuToggle);
    desk.pressHotkey();
    EXPECT_TRUE(desk.events.isEmpty());
    EXPECT_EQ(status(), before);
    EXPECT_EQ(desk.statusItem.menuCount, builds);
}

TEST_F(DictationSessionTest, MenuToggleDoesNothingWhileAHotkeyIsBeingChosen)
{
    desk.choose(MenuAction::StartCapture);
    const QString before = status();
    desk.choose(MenuAction::MenuToggle);
    EXPECT_TRUE(desk.events.isEmpty());
    EXPECT_EQ(status(), before);
    EXPECT_FALSE(desk.app->state().recording);
}

TEST_F(DictationSessionTest, EscapeCancelsARecording)
{
    desk.pressHotkey();
    desk.speak(1000);
    desk.take(desk.events);
    desk.pressEscape();
    EXPECT_EQ(desk.events, QStringList{u"Basso 0.2"_s});
    EXPECT_EQ(status(), u"Opname geannuleerd"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_FALSE(desk.hud.visible);
    EXPECT_FALSE(desk.app->state().recording);
    EXPECT_TRUE(desk.log.lines().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(desk.locations.kLastWavURL));
}

TEST_F(DictationSessionTest, AQueuedCancelDoesNothingWhenTheRecordingHasEndedMeanwhile)
{
    desk.pressHotkey();
    desk.speak(1000);
    desk.keyboard.sendFlagsChanged({KeyCode::RightCommand, ModifierFlags::Command, KeyRepeat::FirstPress, {}});
    desk.keyboard.sendKeyDown({KeyCode::Escape, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_TRUE(desk.app->state().busy);
    EXPECT_EQ(status(), u"Transcriberen… (1 sec audio)"_s);
    EXPECT_FALSE(desk.events.contains(u"Basso 0.2"_s));
}

TEST_F(DictationSessionTest, TheWatchdogFreesTheApplicationAfter120Seconds)
{
    dictateBytes(32000);
    desk.take(desk.events);
    desk.queue.advance(std::chrono::milliseconds(119'999));
    EXPECT_TRUE(desk.app->state().busy);
    desk.queue.advance(std::chrono::milliseconds(1));
    EXPECT_FALSE(desk.app->state().busy);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_EQ(desk.log.lines().last(), u"WAAKHOND: transcriptie hing, app vrijgegeven"_s);
    EXPECT_EQ(desk.events, QStringList{u"Basso 0.5"_s});
    EXPECT_EQ(status(),
              u"⚠️ Transcriptie duurde te lang en is afgebroken - opname is bewaard als "
              "laatste-opname.wav"_s);
}

TEST_F(DictationSessionTest, TheFirstWatchdogLeavesASecondTranscriptionAlone)
{
    dictateBytes(32000);
    desk.runBackground();
    ASSERT_FALSE(desk.app->state().busy);
    desk.queue.advance(std::chrono::seconds(60));
    dictateBytes(32000);
    desk.queue.advance(std::chrono::seconds(61));
    EXPECT_TRUE(desk.app->state().busy);
    EXPECT_FALSE(desk.log.lines().contains(u"WAAKHOND: transcriptie hing, app vrijgegeven"_s));
    desk.queue.advance(std::chrono::seconds(59));
    EXPECT_FALSE(desk.app->state().busy);
}

TEST_F(DictationSessionTest, AResultAfterTheWatchdogIsStillPasted)
{
    dictateBytes(32000);
    desk.queue.advance(std::chrono::seconds(120));
    ASSERT_FALSE(desk.app->state().busy);
    desk.runBackground();
    desk.queue.advance(std::chrono::milliseconds(150));
    EXPECT_EQ(desk.events.last(), u"paste: goede morgen"_s);
    EXPECT_EQ(status(), u"Geplakt via lokale Whisper"_s);
}

TEST_F(DictationSessionTest, LevelsReachTheOverlay)
{
    desk.pressHotkey();
    desk.speak(1000, 1.0F);
    ASSERT_FALSE(desk.hud.levels.empty());
    EXPECT_FLOAT_EQ(desk.hud.levels.back(), 1.0F);
}

TEST_F(DictationSessionTest, ADeviceChangeWhileRecordingStopsItAndTellsSo)
{
    desk.pressHotkey();
    desk.speak(1000);
    desk.take(desk.events);
    desk.input.changeConfiguration();
    EXPECT_EQ(desk.log.lines(), QStringList{u"Audio-apparaat gewisseld tijdens opname - opname gestopt"_s});
    EXPECT_EQ(desk.events, QStringList{u"Basso 0.2"_s});
    EXPECT_EQ(status(), u"Audio-apparaat gewisseld - opname gestopt"_s);
    EXPECT_EQ(desk.menuTitles().first(), status());
    EXPECT_EQ(desk.msgHud.messages.back().autoHideSeconds, 5.0);
    EXPECT_EQ(desk.msgHud.texts().last(),
              u"Je microfoon of audio-apparaat is gewisseld tijdens de opname. De opname is gestopt - druk "
              "op de sneltoets om opnieuw te beginnen."_s);
    EXPECT_FALSE(desk.app->state().recording);
}

TEST_F(DictationSessionTest, ADictationSearchesTheKeyringOnce)
{
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    desk.keyringChanged();
    desk.take(desk.secrets.askedFor);
    desk.pressHotkey();
    desk.speak(1000);
    EXPECT_TRUE(desk.secrets.askedFor.isEmpty());
    desk.pressHotkey();
    desk.cloud.answer(u"dag"_s);
    desk.queue.advance(std::chrono::seconds(121));
    EXPECT_EQ(desk.secrets.begunFor, QStringList(u"openai_api_key"_s));
    EXPECT_EQ(desk.secrets.askedFor, QStringList(u"openai_api_key"_s));
}

TEST_F(DictationSessionTest, ADeviceChangeDuringACaptureDoesNothing)
{
    desk.choose(MenuAction::StartCapture);
    const QString capturing = status();
    desk.input.changeConfiguration();
    EXPECT_EQ(status(), capturing);
    EXPECT_TRUE(desk.app->state().capturing);
    EXPECT_TRUE(desk.events.isEmpty());
}

TEST_F(DictationSessionTest, TheHotkeyAndEscapeWhileBusyChangeNothing)
{
    dictateBytes(32000);
    const QString before = status();
    const int builds = desk.statusItem.menuCount;
    desk.take(desk.events);
    desk.pressHotkey();
    desk.pressEscape();
    desk.pressHotkey();
    EXPECT_EQ(status(), before);
    EXPECT_EQ(desk.statusItem.menuCount, builds);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Transcribing);
    EXPECT_TRUE(desk.events.isEmpty());
    EXPECT_FALSE(desk.hud.visible);
    EXPECT_EQ(desk.app->state().busyToken, 1);
    EXPECT_EQ(desk.background.waitingCount(), 1U);
    desk.runBackground();
    EXPECT_EQ(status(), u"Geplakt via lokale Whisper"_s);
    // Free again, with the presses of meanwhile forgotten.
    EXPECT_FALSE(desk.app->state().recording);
    desk.pressHotkey();
    EXPECT_TRUE(desk.app->state().recording);
}

TEST_F(DictationSessionTest, ADeviceChangeWhileIdleOrTranscribingDoesNothing)
{
    const QString ready = status();
    desk.input.changeConfiguration();
    EXPECT_EQ(status(), ready);
    dictateBytes(32000);
    const QString transcribing = status();
    desk.input.changeConfiguration();
    EXPECT_EQ(status(), transcribing);
    EXPECT_TRUE(desk.msgHud.texts().isEmpty());
    EXPECT_TRUE(desk.app->state().busy);
}

TEST(DictationSessionDeathTest, ATokenThatOverflowsStopsTheProgram)
{
    Desk desk;
    SessionState state;
    state.busyToken = std::numeric_limits<std::int64_t>::max();
    Recorder recorder(desk.input, desk.queue);
    VolumeDucker ducker(desk.output, desk.queue);
    StatusBoard board({state, desk.queue, *desk.file, desk.keyboard, desk.loginItem, desk.statusItem, desk.control});
    TextDelivery delivery(state, desk.queue, desk.pasteboard, desk.keystroke, desk.sounds, desk.workspace, board);
    TranscriptionRouting routing({state, desk.queue, desk.background, desk.cloud, desk.local, desk.offer, delivery,
                                  desk.sounds, board, *desk.file, desk.log, desk.locations.kLastWavURL});
    DictationSession session({state, desk.queue, recorder, ducker, desk.sounds, desk.hud, desk.msgHud, board, routing,
                              *desk.file, desk.log, desk.locations.kLastWavURL});
    session.toggle();
    desk.speak(1000);
    EXPECT_DEATH(session.toggle(), "busyToken overflows");
    // One less is the last one that there is room for.
    --state.busyToken;
    session.toggle();
    EXPECT_TRUE(state.busy);
    EXPECT_EQ(state.busyToken, std::numeric_limits<std::int64_t>::max());
}

}  // namespace
}  // namespace tavlo

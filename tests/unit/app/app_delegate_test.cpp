#include "desk.h"
#include "platform/text_literals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tavlo {
namespace {

class AppDelegateTest : public testing::Test {
protected:
    void launch() { desk.app->applicationDidFinishLaunching(); }
    QString status() const { return desk.app->state().statusLine; }
    QJsonObject settings() const { return QJsonDocument::fromJson(desk.settings()).object(); }

    Desk desk;
};

TEST_F(AppDelegateTest, LaunchCreatesTheSupportFolderForItsOwnerOnlyAndTheTemplate)
{
    launch();
    struct stat status = {};
    ASSERT_EQ(stat(qPrintable(desk.locations.kAppSupportDir), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_EQ(settings().value(u"hotkey"_s).toString(), u"rechter-command"_s);
}

TEST_F(AppDelegateTest, LaunchCreatesTheFoldersAboveTheSupportFolder)
{
    ASSERT_TRUE(QDir(desk.home.path()).removeRecursively());
    launch();
    EXPECT_TRUE(QFileInfo(desk.locations.kConfigURL).isFile());
}

TEST_F(AppDelegateTest, ASupportFolderThatCannotBeMadeStopsNothing)
{
    QFile inTheWay(desk.locations.kAppSupportDir);
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    launch();
    EXPECT_EQ(status(), u"Klaar - druk op de sneltoets om te dicteren"_s);
    desk.pressHotkey();
    desk.speak(1000);
    desk.pressHotkey();
    EXPECT_TRUE(desk.app->state().busy);
    EXPECT_TRUE(desk.log.lines().last().startsWith(u"Laatste opname niet bewaard: "_s));
}

TEST_F(AppDelegateTest, TheFirstStatusLineIsDutch)
{
    launch();
    EXPECT_EQ(status(), u"Klaar - druk op de sneltoets om te dicteren"_s);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
    EXPECT_EQ(desk.menuTitles().first(), status());
}

TEST_F(AppDelegateTest, WithEnglishInTheSettingsTheVeryFirstStatusLineIsEnglish)
{
    desk.writeSettings(R"({"app_language": "en"})");
    launch();
    EXPECT_EQ(status(), u"Ready - press the hotkey to dictate"_s);
    EXPECT_EQ(desk.menuTitles().first(), status());
}

TEST_F(AppDelegateTest, LaunchMovesALegacyKeyToTheKeyring)
{
    desk.writeSettings(R"({"openai_api_key": "  sk-abc \n"})");
    launch();
    EXPECT_EQ(desk.storedKey(u"openai_api_key"_s), "sk-abc");
    EXPECT_EQ(settings().value(u"openai_api_key"_s).toString(), QString());
    EXPECT_EQ(desk.log.lines(), QStringList{u"API-sleutel verplaatst naar de Sleutelhanger"_s});
}

TEST_F(AppDelegateTest, ALockedKeyringIsAskedToUnlockOnceAtLaunchAndTheMenuFollows)
{
    launch();
    EXPECT_EQ(desk.secrets.unlockRequests, 1);
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: lokale Whisper (large-v3-turbo)"_s);
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    desk.secrets.setState(FakeSecretStore::State::Open);
    desk.queue.runPending();
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: OpenAI gpt-4o-transcribe + lokale fallback"_s);
}

TEST_F(AppDelegateTest, TheMenuIsBuiltWithoutAskingTheKeyringOrTheLoginItem)
{
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    launch();
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: OpenAI gpt-4o-transcribe + lokale fallback"_s);
    desk.take(desk.secrets.askedFor);
    desk.loginItem.questionCount = 0;
    const int builds = desk.statusItem.menuCount;
    desk.choose(MenuAction::PickLanguage, u"en"_s);
    desk.choose(MenuAction::ToggleDuck);
    desk.choose(MenuAction::PickHotkey, u"fn"_s);
    EXPECT_EQ(desk.statusItem.menuCount, builds + 3);
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: OpenAI gpt-4o-transcribe + local fallback"_s);
    EXPECT_TRUE(desk.secrets.askedFor.isEmpty());
    EXPECT_EQ(desk.loginItem.questionCount, 0);
}

TEST_F(AppDelegateTest, SavingSettingsLooksTheKeyUpOnce)
{
    launch();
    desk.take(desk.secrets.askedFor);
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    desk.windows.saved.call();
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: OpenAI gpt-4o-transcribe + lokale fallback"_s);
    EXPECT_EQ(desk.secrets.askedFor.size(), 1);
}

TEST_F(AppDelegateTest, AProviderWrittenIntoTheFileByHandHasItsOwnKeyLookedUpAfterTheMenuIsBuilt)
{
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    launch();
    desk.storeKey(u"groq_api_key"_s, "gsk-test");
    desk.take(desk.secrets.askedFor);
    desk.writeSettings(R"({"provider": "groq"})");
    desk.choose(MenuAction::ToggleDuck);
    EXPECT_TRUE(desk.secrets.askedFor.isEmpty());
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: lokale Whisper (large-v3-turbo)"_s);
    desk.queue.runPending();
    EXPECT_EQ(desk.secrets.askedFor, QStringList(u"groq_api_key"_s));
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: Groq whisper-large-v3-turbo + lokale fallback"_s);
}

TEST_F(AppDelegateTest, AFileThatCanBeReadAgainHasItsKeyLookedUpAgain)
{
    desk.storeKey(u"openai_api_key"_s, "sk-test");
    desk.writeSettings("{");
    launch();
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: lokale Whisper (large-v3-turbo)"_s);
    desk.queue.runPending();
    EXPECT_TRUE(desk.secrets.askedFor.isEmpty()) << "without a readable file there is no key";
    desk.choose(MenuAction::ToggleDuck);  // writes a file of that one setting
    desk.queue.runPending();
    EXPECT_EQ(desk.menuTitles().at(1), u"Engine: OpenAI gpt-4o-transcribe + lokale fallback"_s);
}

TEST_F(AppDelegateTest, TerminationRestoresTheVolumeAtOnce)
{
    launch();
    desk.pressHotkey();
    desk.queue.advance(std::chrono::milliseconds(200));
    EXPECT_LT(desk.volume(), 0.8F);
    desk.app->applicationWillTerminate();
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_FLOAT_EQ(desk.volume(), 0.8F);
}

TEST_F(AppDelegateTest, PickingALanguageChangesMenuStatusAndSettingsAtOnce)
{
    launch();
    desk.choose(MenuAction::PickLanguage, u"en"_s);
    EXPECT_EQ(settings().value(u"app_language"_s).toString(), u"en"_s);
    EXPECT_EQ(status(), u"Ready - press the hotkey to dictate"_s);
    EXPECT_NE(desk.menuItem(u"Quit Tavlo"_s), nullptr);
    EXPECT_EQ(desk.log.lines().last(), u"Taal gewijzigd naar en"_s);
}

TEST_F(AppDelegateTest, ReadyStandsNowhereWhereNoKeyCanArrive)
{
    desk.keyboard.reason = {u"Geen toetsen."_s, u"No keys."_s};
    launch();
    EXPECT_EQ(status(), u"⚠️ Geen toetsen."_s);
    EXPECT_EQ(desk.log.lines(), QStringList(u"Geen toetsen."_s));
    desk.choose(MenuAction::PickLanguage, u"en"_s);
    EXPECT_EQ(status(), u"⚠️ No keys."_s);
    desk.keyboard.reason = {};
    desk.choose(MenuAction::PickLanguage, u"nl"_s);
    EXPECT_EQ(status(), u"Klaar - druk op de sneltoets om te dicteren"_s);
}

TEST_F(AppDelegateTest, KeysThatCanBeSeenWhileItRunsAreToldAndSoAreThoseThatCanBeSeenNoMore)
{
    launch();
    desk.keyboard.setReason({u"Geen toetsen."_s, u"No keys."_s});
    EXPECT_EQ(status(), u"⚠️ Geen toetsen."_s);
    EXPECT_EQ(desk.log.lines().last(), u"Geen toetsen."_s);
    desk.keyboard.setReason({u"Geen toetsen."_s, u"No keys."_s});
    EXPECT_EQ(desk.log.lines().size(), 1) << "nothing has changed";
    desk.keyboard.setReason({});
    EXPECT_EQ(status(), u"Klaar - druk op de sneltoets om te dicteren"_s);
    EXPECT_EQ(desk.log.lines().last(), u"De sneltoets werkt nu"_s);
}

TEST_F(AppDelegateTest, KeysThatGoDuringARecordingLeaveItsStatusAlone)
{
    launch();
    desk.choose(MenuAction::MenuToggle);
    const QString recording = status();
    desk.keyboard.setReason({u"Geen toetsen."_s, u"No keys."_s});
    EXPECT_EQ(status(), recording);
    EXPECT_EQ(desk.log.lines().last(), u"Geen toetsen."_s);
}

TEST_F(AppDelegateTest, AChoiceOfAKeyEndsWhenNoKeyCanArriveAnyMore)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    desk.keyboard.setReason({u"Geen toetsen."_s, u"No keys."_s});
    EXPECT_FALSE(desk.app->state().capturing);
    EXPECT_EQ(status(), u"⚠️ Geen toetsen."_s);
}

TEST_F(AppDelegateTest, TheKeyboardIsToldWhichKeysAreWaitedFor)
{
    launch();
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::RightCommand, false}));
    desk.choose(MenuAction::PickHotkey, u"rechter-control"_s);
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::RightControl, false}));
    desk.choose(MenuAction::StartCapture);
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::RightControl, true}));
    desk.keyboard.sendKeyDown({KeyCode::F10, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::F10, false}));
}

TEST_F(AppDelegateTest, AHotkeyThatIsWrittenIntoTheFileByHandIsWaitedForAtOnce)
{
    launch();
    desk.writeSettings(R"({"hotkey": "rechter-shift"})");
    desk.app->settingsFileChanged();
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::RightShift, false}));
}

TEST_F(AppDelegateTest, AKeyCodeThatIsNoneIsNoReasonToStopBeforeAKeyIsPressed)
{
    launch();
    const KeyInterest before = desk.keyboard.interest;
    desk.writeSettings(R"({"hotkey": "custom", "custom_keycode": 65536})");
    desk.app->settingsFileChanged();
    EXPECT_EQ(desk.keyboard.interest, before);
}

TEST_F(AppDelegateTest, NoKeyIsWaitedForWhileTheUserThinksAboutTheWarning)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    desk.keyboard.sendKeyDown({KeyCode::Space, ModifierFlags::None, KeyRepeat::FirstPress, u" "_s});
    desk.queue.runPending();
    ASSERT_TRUE(desk.windows.isAlertOpen());
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::RightCommand, false}));
    desk.windows.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_EQ(desk.keyboard.interest, (KeyInterest{KeyCode::Space, false}));
}

TEST_F(AppDelegateTest, ALanguageItemWithoutAStringDoesNothing)
{
    launch();
    const QByteArray before = desk.settings();
    desk.choose(MenuAction::PickLanguage, 7);
    EXPECT_EQ(desk.settings(), before);
    EXPECT_EQ(gLang, u"nl"_s);
    EXPECT_TRUE(desk.log.lines().isEmpty());
}

TEST_F(AppDelegateTest, ToggleDuckWritesTheNegation)
{
    launch();
    desk.choose(MenuAction::ToggleDuck);
    EXPECT_EQ(settings().value(u"duck_enabled"_s), QJsonValue(false));
    EXPECT_EQ(desk.menuItem(u"Muziek dempen tijdens opname"_s)->check, MenuCheck::Off);
    desk.choose(MenuAction::ToggleDuck);
    EXPECT_EQ(settings().value(u"duck_enabled"_s), QJsonValue(true));
    EXPECT_EQ(desk.menuItem(u"Muziek dempen tijdens opname"_s)->check, MenuCheck::On);
}

TEST_F(AppDelegateTest, ToggleLoginRegistersAndUnregisters)
{
    launch();
    const QString title = u"Start bij inloggen"_s;
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::Off);
    desk.choose(MenuAction::ToggleLogin);
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::On);
    desk.choose(MenuAction::ToggleLogin);
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::Off);
}

TEST_F(AppDelegateTest, ALoginItemThatFailsIsTold)
{
    launch();
    desk.loginItem.refusal = u"Map is alleen-lezen."_s;
    desk.choose(MenuAction::ToggleLogin);
    EXPECT_EQ(status(), u"⚠️ Login-item: Map is alleen-lezen."_s);
    EXPECT_EQ(desk.events, QStringList{u"Basso 0.5"_s});
    gLang = u"en"_s;
    desk.choose(MenuAction::ToggleLogin);
    EXPECT_EQ(status(), u"⚠️ Login item: Map is alleen-lezen."_s);
}

TEST_F(AppDelegateTest, TheMenuOpensPagesAndWindows)
{
    launch();
    desk.choose(MenuAction::OpenFeedback);
    desk.choose(MenuAction::OpenSettings);
    desk.choose(MenuAction::OpenAbout);
    EXPECT_EQ(desk.events,
              (QStringList{u"open https://pelloquintar.nl/tavlo/support"_s, u"settings window"_s, u"about window"_s}));
}

TEST_F(AppDelegateTest, PasteAgainIsGreyedUntilATextWasDelivered)
{
    launch();
    const QString title = u"Plak laatste tekst opnieuw"_s;
    EXPECT_EQ(desk.menuItem(title)->action, MenuAction::None);
    desk.pressHotkey();
    desk.speak(1000);
    desk.pressHotkey();
    desk.runBackground();
    EXPECT_EQ(desk.menuItem(title)->action, MenuAction::PasteAgain);
}

TEST_F(AppDelegateTest, ACapturedKeyIsTheHotkeyAtOnce)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    EXPECT_EQ(desk.statusItem.icon(), Activity::Capturing);
    EXPECT_EQ(status(), u"Druk nu op de gewenste toets… (Esc = annuleren)"_s);
    desk.keyboard.sendKeyDown({KeyCode::F5, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_EQ(status(), u"Sneltoets is nu: F5"_s);
    EXPECT_EQ(desk.msgHud.texts().last(), u"✓ Sneltoets is nu: F5"_s);
    EXPECT_EQ(desk.msgHud.messages.back().autoHideSeconds, 2.5);
    EXPECT_EQ(desk.log.lines().last(), u"Sneltoets gewijzigd naar F5 (keycode 96)"_s);
    desk.keyboard.sendKeyDown({KeyCode::F5, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_TRUE(desk.app->state().recording);
}

TEST_F(AppDelegateTest, TheIconIsReadyAgainWhenACaptureEnds)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    ASSERT_EQ(desk.statusItem.icon(), Activity::Capturing);
    desk.pressEscape();
    EXPECT_EQ(desk.statusItem.icon(), Activity::Ready);
}

TEST_F(AppDelegateTest, OtherProgramsCommandIt)
{
    launch();
    desk.command(RemoteCommand::Toggle);
    EXPECT_TRUE(desk.app->state().recording);
    desk.command(RemoteCommand::Cancel);
    EXPECT_FALSE(desk.app->state().recording);
    EXPECT_EQ(status(), u"Opname geannuleerd"_s);
    desk.take(desk.events);
    desk.command(RemoteCommand::OpenSettings);
    EXPECT_EQ(desk.take(desk.events), QStringList{u"settings window"_s});
    desk.command(RemoteCommand::PasteAgain);
    EXPECT_TRUE(desk.events.isEmpty());
    desk.pressHotkey();
    desk.speak(1000);
    desk.pressHotkey();
    desk.runBackground();
    desk.command(RemoteCommand::PasteAgain);
    EXPECT_EQ(desk.events.filter(u"clipboard"_s),
              (QStringList{u"clipboard: goede morgen"_s, u"clipboard: goede morgen"_s}));
}

TEST_F(AppDelegateTest, ACapturedTypingKeyIsWarnedAbout)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    desk.keyboard.sendKeyDown({KeyCode::Space, ModifierFlags::None, KeyRepeat::FirstPress, u" "_s});
    desk.queue.runPending();
    EXPECT_EQ(desk.windows.alerts.back().title, u"'Spatie' is een veelgebruikte typtoets"_s);
    ASSERT_TRUE(desk.windows.isAlertOpen());
    desk.windows.answer(TypingKeyAnswer::UseAnyway);
    EXPECT_EQ(settings().value(u"custom_keycode"_s).toInt(), 49);
}

TEST_F(AppDelegateTest, SavedSettingsAreToldInTheLanguageJustSaved)
{
    launch();
    gLang = u"en"_s;
    desk.windows.saved.call();
    EXPECT_EQ(status(), u"Settings saved"_s);
    EXPECT_NE(desk.menuItem(u"Quit Tavlo"_s), nullptr);
}

TEST_F(AppDelegateTest, EveryChangeIsPublishedForOtherPrograms)
{
    launch();
    desk.take(desk.control.published);
    desk.pressHotkey();
    desk.pressEscape();
    desk.choose(MenuAction::StartCapture);
    using Published = FakeRemoteControl::Published;
    EXPECT_EQ(desk.control.published,
              (std::vector<Published>{{Activity::Recording, u"Opnemen… Rechter ⌘ Command = stop, Esc = annuleren"_s},
                                      {Activity::Ready, u"Opname geannuleerd"_s},
                                      {Activity::Capturing, u"Druk nu op de gewenste toets… (Esc = annuleren)"_s}}));
    desk.pressEscape();
    desk.pressHotkey();
    desk.speak(1000);
    desk.pressHotkey();
    EXPECT_EQ(desk.control.published.back(), (Published{Activity::Transcribing, u"Transcriberen… (1 sec audio)"_s}));
}

TEST_F(AppDelegateTest, TheCaptureIsPublishedAsOverWhileTheTypingKeyAlertIsShown)
{
    launch();
    desk.choose(MenuAction::StartCapture);
    desk.keyboard.sendKeyDown({KeyCode::Space, ModifierFlags::None, KeyRepeat::FirstPress, u" "_s});
    desk.queue.runPending();
    ASSERT_TRUE(desk.windows.isAlertOpen());
    EXPECT_EQ(desk.control.published.back().activity, Activity::Ready);
}

TEST_F(AppDelegateTest, AMissingTrayIsToldOnceWithWhatToDo)
{
    launch();
    desk.statusItem.handlers.trayChanged(TrayPresence::Present);
    EXPECT_TRUE(desk.notification.shown.empty());
    desk.statusItem.handlers.trayChanged(TrayPresence::Absent);
    desk.statusItem.handlers.trayChanged(TrayPresence::Present);
    desk.statusItem.handlers.trayChanged(TrayPresence::Absent);
    ASSERT_EQ(desk.notification.shown.size(), 1U);
    EXPECT_TRUE(desk.notification.shown.front().text.contains(u"Rechter ⌘ Command"_s));
    EXPECT_TRUE(desk.notification.shown.front().text.contains(u"Start Tavlo nog een keer"_s));
}

TEST_F(AppDelegateTest, KeysThatCannotBeSeenAreTold)
{
    desk.keyboard.reason = {u"Geen toetsen."_s, u"No keys."_s};
    launch();
    EXPECT_EQ(status(), u"⚠️ Geen toetsen."_s);
    EXPECT_EQ(desk.log.lines(), QStringList{u"Geen toetsen."_s});
}

}  // namespace
}  // namespace tavlo

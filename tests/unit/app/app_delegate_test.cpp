#include "desk.h"

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
    QString status() const { return desk.app->statusLine(); }
    QJsonObject settings() const { return QJsonDocument::fromJson(desk.settings()).object(); }

    Desk desk;
};

TEST_F(AppDelegateTest, LaunchCreatesTheSupportFolderForItsOwnerOnlyAndTheTemplate)
{
    launch();
    struct stat status = {};
    ASSERT_EQ(stat(qPrintable(desk.locations.kAppSupportDir), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_EQ(settings().value(QStringLiteral("hotkey")).toString(), QStringLiteral("rechter-command"));
}

TEST_F(AppDelegateTest, TheFirstStatusLineIsDutch)
{
    launch();
    EXPECT_EQ(status(), QStringLiteral("Klaar - druk op de sneltoets om te dicteren"));
    EXPECT_EQ(desk.statusItem.icon, QStringLiteral("mic"));
    EXPECT_EQ(desk.menuTitles().first(), status());
}

TEST_F(AppDelegateTest, WithEnglishInTheSettingsTheVeryFirstStatusLineIsEnglish)
{
    desk.writeSettings(R"({"app_language": "en"})");
    launch();
    EXPECT_EQ(status(), QStringLiteral("Ready - press the hotkey to dictate"));
    EXPECT_EQ(desk.menuTitles().first(), status());
}

TEST_F(AppDelegateTest, LaunchMovesALegacyKeyToTheKeyring)
{
    desk.writeSettings(R"({"openai_api_key": "  sk-abc \n"})");
    launch();
    EXPECT_EQ(desk.secrets.items[QStringLiteral("openai_api_key")], "sk-abc");
    EXPECT_EQ(settings().value(QStringLiteral("openai_api_key")).toString(), QString());
    EXPECT_EQ(desk.log.lines(), QStringList{QStringLiteral("API-sleutel verplaatst naar de Sleutelhanger")});
}

TEST_F(AppDelegateTest, ALockedKeyringIsAskedToUnlockOnceAtLaunchAndTheMenuFollows)
{
    launch();
    EXPECT_EQ(desk.secrets.unlockRequests, 1);
    EXPECT_EQ(desk.menuTitles().at(1), QStringLiteral("Engine: lokale Whisper (large-v3-turbo)"));
    desk.secrets.items[QStringLiteral("openai_api_key")] = "sk-test";
    desk.secrets.changed();
    EXPECT_EQ(desk.menuTitles().at(1), QStringLiteral("Engine: OpenAI gpt-4o-transcribe + lokale fallback"));
}

TEST_F(AppDelegateTest, TerminationRestoresTheVolumeAtOnce)
{
    launch();
    desk.pressHotkey();
    desk.queue.advance(std::chrono::milliseconds(200));
    EXPECT_LT(desk.output.current, 0.8F);
    desk.app->applicationWillTerminate();
    EXPECT_FLOAT_EQ(desk.output.current, 0.8F);
    desk.queue.advance(std::chrono::seconds(1));
    EXPECT_FLOAT_EQ(desk.output.current, 0.8F);
}

TEST_F(AppDelegateTest, PickingALanguageChangesMenuStatusAndSettingsAtOnce)
{
    launch();
    desk.app->perform(MenuAction::PickLanguage, QStringLiteral("en"));
    EXPECT_EQ(settings().value(QStringLiteral("app_language")).toString(), QStringLiteral("en"));
    EXPECT_EQ(status(), QStringLiteral("Ready - press the hotkey to dictate"));
    EXPECT_NE(desk.menuItem(QStringLiteral("Quit Tavlo")), nullptr);
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Taal gewijzigd naar en"));
}

TEST_F(AppDelegateTest, ALanguageItemWithoutAStringDoesNothing)
{
    launch();
    const QByteArray before = desk.settings();
    desk.app->perform(MenuAction::PickLanguage, 7);
    EXPECT_EQ(desk.settings(), before);
    EXPECT_EQ(gLang, QStringLiteral("nl"));
    EXPECT_TRUE(desk.log.lines().isEmpty());
}

TEST_F(AppDelegateTest, ToggleDuckWritesTheNegation)
{
    launch();
    desk.app->perform(MenuAction::ToggleDuck, {});
    EXPECT_EQ(settings().value(QStringLiteral("duck_enabled")), QJsonValue(false));
    EXPECT_EQ(desk.menuItem(QStringLiteral("Muziek dempen tijdens opname"))->check, MenuCheck::Off);
    desk.app->perform(MenuAction::ToggleDuck, {});
    EXPECT_EQ(settings().value(QStringLiteral("duck_enabled")), QJsonValue(true));
    EXPECT_EQ(desk.menuItem(QStringLiteral("Muziek dempen tijdens opname"))->check, MenuCheck::On);
}

TEST_F(AppDelegateTest, ToggleLoginRegistersAndUnregisters)
{
    launch();
    const QString title = QStringLiteral("Start bij inloggen");
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::Off);
    desk.app->perform(MenuAction::ToggleLogin, {});
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::On);
    desk.app->perform(MenuAction::ToggleLogin, {});
    EXPECT_EQ(desk.menuItem(title)->check, MenuCheck::Off);
}

TEST_F(AppDelegateTest, ALoginItemThatFailsIsTold)
{
    launch();
    desk.loginItem.refusal = Error{QStringLiteral("x"), 1, QStringLiteral("Map is alleen-lezen.")};
    desk.app->perform(MenuAction::ToggleLogin, {});
    EXPECT_EQ(status(), QStringLiteral("⚠️ Login-item: Map is alleen-lezen."));
    EXPECT_EQ(desk.events, QStringList{QStringLiteral("Basso 0.5")});
    gLang = QStringLiteral("en");
    desk.app->perform(MenuAction::ToggleLogin, {});
    EXPECT_EQ(status(), QStringLiteral("⚠️ Login item: Map is alleen-lezen."));
}

TEST_F(AppDelegateTest, TheMenuOpensPagesAndWindows)
{
    launch();
    desk.app->perform(MenuAction::OpenFeedback, {});
    desk.app->openWebsite();
    desk.app->openConfig();
    desk.app->perform(MenuAction::OpenSettings, {});
    desk.app->perform(MenuAction::OpenAbout, {});
    EXPECT_EQ(desk.events, (QStringList{QStringLiteral("open https://pelloquintar.nl/tavlo/support"),
                                        QStringLiteral("open https://pelloquintar.nl/tavlo"),
                                        QStringLiteral("open ") + QUrl::fromLocalFile(desk.file->path()).toString(),
                                        QStringLiteral("settings window"), QStringLiteral("about window")}));
}

TEST_F(AppDelegateTest, PasteAgainIsGreyedUntilATextWasDelivered)
{
    launch();
    const QString title = QStringLiteral("Plak laatste tekst opnieuw");
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
    desk.app->perform(MenuAction::StartCapture, {});
    EXPECT_EQ(desk.statusItem.icon, QStringLiteral("keyboard"));
    EXPECT_EQ(status(), QStringLiteral("Druk nu op de gewenste toets… (Esc = annuleren)"));
    desk.keyboard.keyDown({96, 0, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_EQ(status(), QStringLiteral("Sneltoets is nu: F5"));
    EXPECT_EQ(desk.msgHud.shown.last(), QStringLiteral("✓ Sneltoets is nu: F5"));
    EXPECT_EQ(desk.msgHud.autoHide, 2.5);
    EXPECT_EQ(desk.log.lines().last(), QStringLiteral("Sneltoets gewijzigd naar F5 (keycode 96)"));
    desk.keyboard.keyDown({96, 0, KeyRepeat::FirstPress, {}});
    desk.queue.runPending();
    EXPECT_TRUE(desk.app->isRecording());
}

TEST_F(AppDelegateTest, ACapturedTypingKeyIsWarnedAbout)
{
    launch();
    desk.app->perform(MenuAction::StartCapture, {});
    desk.keyboard.keyDown({49, 0, KeyRepeat::FirstPress, QStringLiteral(" ")});
    desk.queue.runPending();
    EXPECT_EQ(desk.windows.alert.title, QStringLiteral("'Spatie' is een veelgebruikte typtoets"));
    ASSERT_TRUE(desk.windows.answered);
    desk.windows.answered(TypingKeyAnswer::UseAnyway);
    EXPECT_EQ(settings().value(QStringLiteral("custom_keycode")).toInt(), 49);
}

TEST_F(AppDelegateTest, SavedSettingsAreToldInTheLanguageJustSaved)
{
    launch();
    gLang = QStringLiteral("en");
    desk.app->settingsSaved();
    EXPECT_EQ(status(), QStringLiteral("Settings saved"));
    EXPECT_NE(desk.menuItem(QStringLiteral("Quit Tavlo")), nullptr);
}

TEST_F(AppDelegateTest, EveryChangeIsPublishedForOtherPrograms)
{
    launch();
    desk.take(desk.control.published);
    desk.pressHotkey();
    desk.pressEscape();
    desk.app->perform(MenuAction::StartCapture, {});
    EXPECT_EQ(desk.control.published,
              (QStringList{QStringLiteral("recording: Opnemen… Rechter ⌘ Command = stop, Esc = annuleren"),
                           QStringLiteral("ready: Opname geannuleerd"),
                           QStringLiteral("capturing: Druk nu op de gewenste toets… (Esc = annuleren)")}));
    desk.pressEscape();
    desk.pressHotkey();
    desk.speak(1000);
    desk.pressHotkey();
    EXPECT_EQ(desk.control.published.last(), QStringLiteral("transcribing: Transcriberen… (1 sec audio)"));
}

TEST_F(AppDelegateTest, TheCaptureIsPublishedAsOverWhileTheTypingKeyAlertIsShown)
{
    launch();
    desk.app->perform(MenuAction::StartCapture, {});
    desk.keyboard.keyDown({49, 0, KeyRepeat::FirstPress, QStringLiteral(" ")});
    desk.queue.runPending();
    ASSERT_TRUE(desk.windows.answered);
    EXPECT_TRUE(desk.control.published.last().startsWith(QStringLiteral("ready: ")));
}

TEST_F(AppDelegateTest, AMissingTrayIsToldOnceWithWhatToDo)
{
    launch();
    desk.app->trayChanged(true);
    EXPECT_TRUE(desk.notification.shown.isEmpty());
    desk.app->trayChanged(false);
    desk.app->trayChanged(true);
    desk.app->trayChanged(false);
    ASSERT_EQ(desk.notification.shown.size(), 1);
    EXPECT_TRUE(desk.notification.shown.first().contains(QStringLiteral("Rechter ⌘ Command")));
    EXPECT_TRUE(desk.notification.shown.first().contains(QStringLiteral("Start Tavlo nog een keer")));
}

TEST_F(AppDelegateTest, KeysThatCannotBeSeenAreTold)
{
    desk.keyboard.reason = QStringLiteral("Geen toetsen.");
    launch();
    EXPECT_EQ(status(), QStringLiteral("⚠️ Geen toetsen."));
    EXPECT_EQ(desk.log.lines(), QStringList{QStringLiteral("Geen toetsen.")});
}

}  // namespace
}  // namespace tavlo

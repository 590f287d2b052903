#include "ui/settings_window.h"

#include "settings/config_file.h"
#include "settings/keychain.h"
#include "settings/locations.h"
#include "support/fakes/fake_screens.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/fake_workspace.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/settings_window_layout.h"
#include "window_test_support.h"

#include <QClipboard>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QTemporaryDir>

using namespace tavlo;
using namespace tavlo::test;

namespace {

const QString kOpenAIAccount = QStringLiteral("openai_api_key");
const QString kGroqAccount = QStringLiteral("groq_api_key");

class SettingsWindowTest : public testing::Test {
protected:
    void write(const QString& key, const QJsonValue& value) { m_file.update(key, value); }

    QJsonObject stored() const
    {
        QFile file(m_file.path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    void choose(QComboBox& popUp, int index)
    {
        popUp.setCurrentIndex(index);
        Q_EMIT popUp.activated(index);
    }

    // A pop-up is called by what is selected in it, and by its label through a relation of the two.
    static QObject* labelOf(QWidget& control)
    {
        const auto relations = QAccessible::queryAccessibleInterface(&control)->relations(QAccessible::Label);
        return relations.isEmpty() ? nullptr : relations.first().first->object();
    }

    WindowFrame& window() { return *m_settings.settingsWindow(); }
    SettingsForm& form() { return m_settings.form(); }
    QString title(const char* button) { return window().control<QPushButton>(QString::fromLatin1(button)).text(); }
    void click(const char* button) { window().control<QPushButton>(QString::fromLatin1(button)).click(); }

    InLanguage m_language{QStringLiteral("nl")};
    QTemporaryDir m_folder;
    ManualMainQueue m_queue;
    MemoryLog m_log;
    FakeSecretStore m_secrets{m_queue};
    Keychain m_keychain{m_secrets};
    ConfigFile m_file{m_folder.filePath(QStringLiteral("config.json")), m_keychain, m_log};
    FakeScreens m_screens;
    FakeWorkspace m_workspace;
    int m_saved = 0;
    QString m_languageAtSave;
    SettingsWindow m_settings{{m_file, m_keychain, m_secrets, m_log, m_workspace, m_screens, [this] {
                                   ++m_saved;
                                   m_languageAtSave = gLang;
                               }}};
};

}  // namespace

TEST_F(SettingsWindowTest, TheLayoutIsTheAgreedTable)
{
    const WindowDescription layout = settingsWindowLayout();
    EXPECT_EQ(layout.title, QStringLiteral("Tavlo-instellingen"));
    EXPECT_EQ(layout.size, QSize(480, 506));
    const std::vector<WindowElement> elements{
        {.name = QStringLiteral("langLabel"), .kind = ElementKind::Label, .frame = {20, 472, 150, 17}},
        {.name = QStringLiteral("langPopup"), .kind = ElementKind::PopUp, .frame = {180, 466, 280, 26}},
        {.name = QStringLiteral("providerLabel"), .kind = ElementKind::Label, .frame = {20, 438, 150, 17}},
        {.name = QStringLiteral("providerPopup"), .kind = ElementKind::PopUp, .frame = {180, 432, 280, 26}},
        {.name = QStringLiteral("apiLabel"), .kind = ElementKind::Label, .frame = {20, 400, 300, 17}},
        {.name = QStringLiteral("keyPageButton"),
         .kind = ElementKind::SmallButton,
         .frame = {330, 396, 130, 24},
         .pixelSize = 11},
        {.name = QStringLiteral("apiField"), .kind = ElementKind::TextField, .frame = {20, 368, 440, 24}},
        {.name = QStringLiteral("modelLabel"), .kind = ElementKind::Label, .frame = {20, 334, 150, 17}},
        {.name = QStringLiteral("modelPopup"), .kind = ElementKind::PopUp, .frame = {180, 328, 280, 26}},
        {.name = QStringLiteral("costLabel"),
         .kind = ElementKind::WrappingLabel,
         .frame = {20, 294, 448, 28},
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel},
        {.name = QStringLiteral("engineLabel"), .kind = ElementKind::Label, .frame = {20, 276, 150, 17}},
        {.name = QStringLiteral("enginePopup"), .kind = ElementKind::PopUp, .frame = {180, 270, 280, 26}},
        {.name = QStringLiteral("vocabLabel"), .kind = ElementKind::Label, .frame = {20, 242, 440, 17}},
        {.name = QStringLiteral("vocabView"), .kind = ElementKind::TextView, .frame = {20, 154, 440, 84}},
        {.name = QStringLiteral("duckCheck"), .kind = ElementKind::CheckBox, .frame = {20, 120, 440, 18}},
        {.name = QStringLiteral("duckLabel"), .kind = ElementKind::Label, .frame = {20, 88, 150, 17}},
        {.name = QStringLiteral("duckSlider"), .kind = ElementKind::Slider, .frame = {180, 86, 230, 20}},
        {.name = QStringLiteral("duckPct"), .kind = ElementKind::Label, .frame = {420, 88, 45, 17}},
        {.name = QStringLiteral("cancelButton"), .kind = ElementKind::Button, .frame = {250, 20, 100, 32}},
        {.name = QStringLiteral("saveButton"), .kind = ElementKind::DefaultButton, .frame = {360, 20, 100, 32}},
    };
    expectElements(layout, elements);
}

TEST_F(SettingsWindowTest, TheControlsStandWhereTheLayoutPutsThem)
{
    m_settings.openSettings();
    EXPECT_EQ(window().size(), QSize(480, 506));
    EXPECT_EQ(form().langPopup.geometry(), QRect(180, 14, 280, 26));
    EXPECT_EQ(form().vocabView.geometry(), QRect(20, 268, 440, 84));
    EXPECT_EQ(window().geometry().center(), m_screens.frame->center());
}

TEST_F(SettingsWindowTest, TextsInBothLanguages)
{
    m_settings.openSettings();
    EXPECT_EQ(labelText(window(), "langLabel"), QStringLiteral("Taal / Language:"));
    EXPECT_EQ(labelText(window(), "apiLabel"), QStringLiteral("API-sleutel (leeg = alleen gratis lokale Whisper):"));
    EXPECT_EQ(labelText(window(), "vocabLabel"),
              QStringLiteral("Woordenlijst - jargon en namen voor betere herkenning:"));
    EXPECT_EQ(labelText(window(), "duckLabel"), QStringLiteral("Restvolume muziek:"));
    EXPECT_EQ(form().duckCheck.text(), QStringLiteral("Muziek dempen tijdens opname"));
    EXPECT_EQ(title("keyPageButton"), QStringLiteral("Sleutel aanmaken ↗"));
    EXPECT_EQ(title("cancelButton"), QStringLiteral("Annuleer"));
    EXPECT_EQ(title("saveButton"), QStringLiteral("Bewaar"));
    gLang = QStringLiteral("en");
    m_settings.openSettings();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Tavlo Settings"));
    EXPECT_EQ(labelText(window(), "langLabel"), QStringLiteral("Language / Taal:"));
    EXPECT_EQ(labelText(window(), "apiLabel"), QStringLiteral("API key (empty = free local Whisper only):"));
    EXPECT_EQ(labelText(window(), "vocabLabel"),
              QStringLiteral("Vocabulary - jargon and names for better recognition:"));
    EXPECT_EQ(labelText(window(), "duckLabel"), QStringLiteral("Remaining music volume:"));
    EXPECT_EQ(form().duckCheck.text(), QStringLiteral("Duck music while recording"));
    EXPECT_EQ(title("keyPageButton"), QStringLiteral("Create key ↗"));
    EXPECT_EQ(title("cancelButton"), QStringLiteral("Cancel"));
    EXPECT_EQ(title("saveButton"), QStringLiteral("Save"));
    EXPECT_EQ(form().providerPopup.itemText(1), QStringLiteral("Groq (cheapest)"));
}

TEST_F(SettingsWindowTest, OpeningShowsTheStoredSettings)
{
    write(QStringLiteral("engine"), QStringLiteral("local"));
    write(QStringLiteral("openai_model"), QStringLiteral("whisper-1"));
    write(QStringLiteral("vocabulary"), QStringLiteral(" Tavlo,\nQt "));
    write(QStringLiteral("duck_enabled"), false);
    write(QStringLiteral("duck_volume"), 0.2);
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_settings.openSettings();
    EXPECT_EQ(form().langPopup.currentIndex(), 0);
    EXPECT_EQ(form().providerPopup.currentIndex(), 0);
    EXPECT_EQ(form().modelPopup.currentIndex(), 2);
    EXPECT_EQ(form().enginePopup.currentIndex(), 2);
    EXPECT_EQ(form().apiField.text(), QStringLiteral("sk-1"));
    EXPECT_EQ(form().apiField.echoMode(), QLineEdit::Normal);
    EXPECT_EQ(form().vocabulary(), QStringLiteral(" Tavlo,\nQt "));
    EXPECT_FALSE(form().duckCheck.isChecked());
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("20%"));
}

TEST_F(SettingsWindowTest, AnUnknownModelOpensWithTheFirstAndSavesIt)
{
    write(QStringLiteral("openai_model"), QStringLiteral("gpt-9-transcribe"));
    m_settings.openSettings();
    EXPECT_EQ(form().modelPopup.currentIndex(), 0);
    click("saveButton");
    EXPECT_EQ(stored().value(QStringLiteral("openai_model")).toString(), QStringLiteral("gpt-4o-transcribe"));
}

TEST_F(SettingsWindowTest, UnknownProviderAndEngineSelectTheFirst)
{
    write(QStringLiteral("provider"), QStringLiteral("acme"));
    write(QStringLiteral("engine"), QStringLiteral("magic"));
    m_settings.openSettings();
    EXPECT_EQ(form().providerPopup.currentIndex(), 0);
    EXPECT_EQ(form().enginePopup.currentIndex(), 0);
}

TEST_F(SettingsWindowTest, AKeyPastedWithATrailingLineBreakIsStoredWithoutIt)
{
    m_settings.openSettings();
    QGuiApplication::clipboard()->setText(QStringLiteral("  sk-pasted\r\n"));
    form().apiField.selectAll();
    form().apiField.paste();
    click("saveButton");
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), QStringLiteral("sk-pasted"));
}

TEST_F(SettingsWindowTest, SwitchingTheProviderReloadsEachKeyAndTheModels)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_keychain.set(QStringLiteral("gsk-2"), kGroqAccount);
    write(QStringLiteral("openai_model"), QStringLiteral("gpt-4o-mini-transcribe"));
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.placeholderText(), QStringLiteral("sk-..."));
    EXPECT_TRUE(form().costLabel.text().contains(QStringLiteral("$0,18")));
    form().apiField.setText(QStringLiteral("an edit"));
    choose(form().modelPopup, 2);

    choose(form().providerPopup, 1);
    EXPECT_EQ(form().apiField.text(), QStringLiteral("gsk-2"));
    EXPECT_EQ(form().apiField.placeholderText(), QStringLiteral("gsk_..."));
    EXPECT_EQ(form().modelPopup.count(), 1);
    EXPECT_EQ(form().modelPopup.currentText(), QStringLiteral("whisper-large-v3-turbo (snel & spotgoedkoop)"));
    EXPECT_TRUE(form().costLabel.text().contains(QStringLiteral("$0,04")));

    choose(form().providerPopup, 0);
    EXPECT_EQ(form().apiField.text(), QStringLiteral("sk-1"));
    EXPECT_EQ(form().modelPopup.count(), 3);
    EXPECT_EQ(form().modelPopup.currentIndex(), 1);
    EXPECT_TRUE(form().costLabel.text().contains(QStringLiteral("$0,18")));
}

TEST_F(SettingsWindowTest, ChoosingAModelChangesTheCosts)
{
    m_settings.openSettings();
    EXPECT_TRUE(form().costLabel.text().contains(QStringLiteral("$0,36")));
    choose(form().modelPopup, 1);
    EXPECT_TRUE(form().costLabel.text().contains(QStringLiteral("$0,18")));
}

TEST_F(SettingsWindowTest, SavingWithEnglishSelectedSpeaksEnglishAtOnce)
{
    m_settings.openSettings();
    form().langPopup.setCurrentIndex(1);
    click("saveButton");
    EXPECT_EQ(m_saved, 1);
    EXPECT_EQ(m_languageAtSave, QStringLiteral("en"));
    EXPECT_EQ(stored().value(QStringLiteral("app_language")).toString(), QStringLiteral("en"));
}

TEST_F(SettingsWindowTest, AnEighthIsSavedAs013AndShownAs13Percent)
{
    m_settings.openSettings();
    form().duckSlider.setFraction(0.125);
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("13%"));
    click("saveButton");
    EXPECT_DOUBLE_EQ(stored().value(QStringLiteral("duck_volume")).toDouble(), 0.13);
}

TEST_F(SettingsWindowTest, TheSliderReachesAnEighthByHand)
{
    m_settings.openSettings();
    form().duckSlider.setValue(125);
    EXPECT_DOUBLE_EQ(form().duckSlider.fraction(), 0.125);
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("13%"));
}

TEST_F(SettingsWindowTest, TheSliderKeepsWhatItWasGivenUntilItIsMoved)
{
    write(QStringLiteral("duck_volume"), 0.0849);
    m_settings.openSettings();
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("8%"));
    click("saveButton");
    EXPECT_DOUBLE_EQ(stored().value(QStringLiteral("duck_volume")).toDouble(), 0.08);
}

TEST_F(SettingsWindowTest, AVolumeAboveTheSlidersTopShowsThirtyPercent)
{
    write(QStringLiteral("duck_volume"), 0.9);
    m_settings.openSettings();
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("30%"));
}

TEST_F(SettingsWindowTest, TheSliderStartsAtEightPercent)
{
    EXPECT_DOUBLE_EQ(form().duckSlider.fraction(), 0.08);
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("8%"));
}

TEST_F(SettingsWindowTest, SavingWritesEveryValueAndKeepsTheOthers)
{
    write(QStringLiteral("hotkey"), QStringLiteral("fn"));
    m_settings.openSettings();
    choose(form().providerPopup, 1);
    form().apiField.setText(QStringLiteral("gsk-new"));
    form().enginePopup.setCurrentIndex(1);
    form().vocabView.setPlainText(QStringLiteral("een\u00a0twee\n"));
    form().duckCheck.setChecked(false);
    form().duckSlider.setFraction(0.3);
    click("saveButton");
    EXPECT_EQ(stored(), (QJsonObject{{QStringLiteral("hotkey"), QStringLiteral("fn")},
                                     {QStringLiteral("app_language"), QStringLiteral("nl")},
                                     {QStringLiteral("provider"), QStringLiteral("groq")},
                                     {QStringLiteral("groq_model"), QStringLiteral("whisper-large-v3-turbo")},
                                     {QStringLiteral("engine"), QStringLiteral("openai")},
                                     {QStringLiteral("vocabulary"), QStringLiteral("een\u00a0twee\n")},
                                     {QStringLiteral("duck_enabled"), false},
                                     {QStringLiteral("duck_volume"), 0.3}}));
    EXPECT_EQ(m_keychain.get(kGroqAccount), QStringLiteral("gsk-new"));
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(m_log.lines(), QStringList{QStringLiteral("Instellingen bewaard via venster")});
}

TEST_F(SettingsWindowTest, AnEmptiedKeyIsRemovedFromTheKeyring)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_settings.openSettings();
    form().apiField.clear();
    click("saveButton");
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), std::nullopt);
}

TEST_F(SettingsWindowTest, SavingWithALockedOrRefusingKeyringIsSilent)
{
    m_secrets.setState(FakeSecretStore::State::Locked);
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.text(), QString());
    form().apiField.setText(QStringLiteral("sk-x"));
    click("saveButton");
    EXPECT_EQ(m_saved, 1);
    m_secrets.setState(FakeSecretStore::State::Open);
    m_secrets.refusesToAdd = true;
    m_settings.openSettings();
    form().apiField.setText(QStringLiteral("sk-x"));
    click("saveButton");
    EXPECT_EQ(m_saved, 2);
}

TEST_F(SettingsWindowTest, AKeyThatASlowKeyringDidNotShowIsNotRemoved)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_secrets.isSlow = true;
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.text(), QString());
    click("saveButton");
    m_secrets.isSlow = false;
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), QStringLiteral("sk-1"));
}

TEST_F(SettingsWindowTest, AKeyTypedWhileTheKeyringIsSlowIsStored)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_secrets.isSlow = true;
    m_settings.openSettings();
    form().apiField.setText(QStringLiteral("sk-2"));
    click("saveButton");
    m_secrets.isSlow = false;
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), QStringLiteral("sk-2"));
}

TEST_F(SettingsWindowTest, OpeningAsksForTheKeyringAndShowsTheKeyWhenItOpens)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_secrets.setState(FakeSecretStore::State::Locked);
    m_secrets.unlocksWhenAsked = true;
    m_queue.runPending();
    m_settings.openSettings();
    EXPECT_EQ(m_secrets.unlockRequests, 1);
    EXPECT_EQ(form().apiField.text(), QString());
    m_queue.runPending();
    EXPECT_EQ(form().apiField.text(), QStringLiteral("sk-1"));
}

TEST_F(SettingsWindowTest, AKeyringThatShowsTheKeyIsNotAskedToOpen)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.text(), QStringLiteral("sk-1"));
    EXPECT_EQ(m_secrets.unlockRequests, 0);
}

TEST_F(SettingsWindowTest, AKeyThatTheUserHasTypedStaysWhenTheKeyringOpens)
{
    m_keychain.set(QStringLiteral("sk-1"), kOpenAIAccount);
    m_secrets.setState(FakeSecretStore::State::Locked);
    m_queue.runPending();
    m_settings.openSettings();
    form().apiField.insert(QStringLiteral("sk-typed"));
    m_secrets.setState(FakeSecretStore::State::Open);
    m_queue.runPending();
    EXPECT_EQ(form().apiField.text(), QStringLiteral("sk-typed"));
}

TEST_F(SettingsWindowTest, AKeyringThatOpensBeforeAnyWindowChangesNothing)
{
    m_secrets.setState(FakeSecretStore::State::Open);
    m_queue.runPending();
    EXPECT_EQ(m_secrets.calls, 0);
}

TEST_F(SettingsWindowTest, CancelSavesNothing)
{
    m_settings.openSettings();
    form().enginePopup.setCurrentIndex(2);
    click("cancelButton");
    EXPECT_FALSE(window().isVisible());
    EXPECT_FALSE(QFile::exists(m_file.path()));
    EXPECT_EQ(m_saved, 0);
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(SettingsWindowTest, UnsavedEditsDoNotSurviveAReopening)
{
    m_settings.openSettings();
    form().enginePopup.setCurrentIndex(2);
    form().apiField.setText(QStringLiteral("edit"));
    form().vocabView.setPlainText(QStringLiteral("edit"));
    form().duckSlider.setFraction(0.2);
    window().close();
    m_settings.openSettings();
    EXPECT_EQ(form().enginePopup.currentIndex(), 0);
    EXPECT_EQ(form().apiField.text(), QString());
    EXPECT_EQ(form().vocabulary(), QString());
    EXPECT_EQ(form().duckPct.text(), QStringLiteral("8%"));
}

TEST_F(SettingsWindowTest, AReopenedVocabularyStandsAtItsBeginningWithNothingToUndo)
{
    write(QStringLiteral("vocabulary"), QStringLiteral("Tavlo, Whisper"));
    m_settings.openSettings();
    form().vocabView.moveCursor(QTextCursor::End);
    m_settings.closeSettings();
    m_settings.openSettings();
    EXPECT_EQ(form().vocabView.textCursor().position(), 0);

    form().vocabView.insertPlainText(QStringLiteral("x"));
    form().vocabView.undo();
    EXPECT_EQ(form().vocabulary(), QStringLiteral("Tavlo, Whisper"));
    m_settings.closeSettings();
    m_settings.openSettings();
    EXPECT_EQ(form().vocabulary(), QStringLiteral("Tavlo, Whisper"));
    EXPECT_FALSE(form().vocabView.document()->isUndoAvailable());
    EXPECT_FALSE(form().vocabView.document()->isRedoAvailable());
}

TEST_F(SettingsWindowTest, OpeningTwiceLeavesOneWindowWithTheSameControls)
{
    m_settings.openSettings();
    WindowFrame* const first = &window();
    m_settings.openSettings();
    EXPECT_NE(&window(), first);
    destroyWhatWaits();
    EXPECT_EQ(visibleWindows(), 1);
    EXPECT_EQ(form().apiField.window(), &window());
    EXPECT_TRUE(form().apiField.isVisible());
}

TEST_F(SettingsWindowTest, TheKeyPageFollowsTheProvider)
{
    m_settings.openSettings();
    click("keyPageButton");
    choose(form().providerPopup, 1);
    click("keyPageButton");
    form().providerPopup.setCurrentIndex(-1);  // counts as the first
    click("keyPageButton");
    EXPECT_EQ(m_workspace.opened,
              (QList<QUrl>{QUrl(kOpenAIKeyPageURL), QUrl(kGroqKeyPageURL), QUrl(kOpenAIKeyPageURL)}));
}

TEST_F(SettingsWindowTest, ReturnInTheKeyFieldSaves)
{
    m_settings.openSettings();
    press(form().apiField, Qt::Key_Return);
    EXPECT_EQ(m_saved, 1);
}

TEST_F(SettingsWindowTest, ReturnInAnyOtherControlSavesToo)
{
    for (QWidget* control : std::initializer_list<QWidget*>{&form().langPopup, &form().duckCheck, &form().duckSlider}) {
        m_settings.openSettings();
        press(*control, Qt::Key_Return);
    }
    EXPECT_EQ(m_saved, 3);
}

TEST_F(SettingsWindowTest, ReturnInTheVocabularyMakesANewLine)
{
    m_settings.openSettings();
    form().vocabView.setPlainText(QStringLiteral("een"));
    form().vocabView.moveCursor(QTextCursor::End);
    press(form().vocabView, Qt::Key_Return, QStringLiteral("\r"));
    EXPECT_EQ(form().vocabulary(), QStringLiteral("een\n"));
    EXPECT_EQ(m_saved, 0);
    EXPECT_TRUE(form().vocabView.tabChangesFocus());
}

TEST_F(SettingsWindowTest, EscapeClosesWithoutSaving)
{
    m_settings.openSettings();
    press(form().vocabView, Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(m_saved, 0);
}

TEST_F(SettingsWindowTest, TheTabKeyGoesFromTopToBottom)
{
    m_settings.openSettings();
    QStringList order;
    const QWidget* control = &form().langPopup;
    do {
        if ((control->focusPolicy() & Qt::TabFocus) != 0 && control->parentWidget() == &window()) {
            order.append(control->objectName());
        }
        control = control->nextInFocusChain();
    } while (control != &form().langPopup);
    EXPECT_EQ(order, (QStringList{
                         QStringLiteral("langPopup"), QStringLiteral("providerPopup"), QStringLiteral("keyPageButton"),
                         QStringLiteral("apiField"), QStringLiteral("modelPopup"), QStringLiteral("enginePopup"),
                         QStringLiteral("vocabView"), QStringLiteral("duckCheck"), QStringLiteral("duckSlider"),
                         QStringLiteral("cancelButton"), QStringLiteral("saveButton")}));
}

TEST_F(SettingsWindowTest, EveryControlHasItsNameAndRole)
{
    m_settings.openSettings();
    EXPECT_EQ(labelOf(form().langPopup), window().widget(QStringLiteral("langLabel")));
    EXPECT_EQ(accessibleRole(form().langPopup), QAccessible::ComboBox);
    EXPECT_EQ(labelOf(form().providerPopup), window().widget(QStringLiteral("providerLabel")));
    EXPECT_EQ(accessibleName(form().apiField), QStringLiteral("API-sleutel (leeg = alleen gratis lokale Whisper)"));
    EXPECT_EQ(accessibleRole(form().apiField), QAccessible::EditableText);
    EXPECT_EQ(labelOf(form().modelPopup), window().widget(QStringLiteral("modelLabel")));
    EXPECT_EQ(labelOf(form().enginePopup), window().widget(QStringLiteral("engineLabel")));
    EXPECT_EQ(accessibleName(form().vocabView),
              QStringLiteral("Woordenlijst - jargon en namen voor betere herkenning"));
    EXPECT_EQ(accessibleRole(form().vocabView), QAccessible::EditableText);
    EXPECT_EQ(accessibleName(form().duckCheck), QStringLiteral("Muziek dempen tijdens opname"));
    EXPECT_EQ(accessibleRole(form().duckCheck), QAccessible::CheckBox);
    EXPECT_EQ(accessibleName(form().duckSlider), QStringLiteral("Restvolume muziek"));
    EXPECT_EQ(accessibleRole(form().duckSlider), QAccessible::Slider);
    EXPECT_EQ(accessibleName(form().costLabel), form().costLabel.text());
    EXPECT_EQ(accessibleRole(form().costLabel), QAccessible::StaticText);
    for (const char* button : {"keyPageButton", "cancelButton", "saveButton"}) {
        auto& control = window().control<QPushButton>(QString::fromLatin1(button));
        EXPECT_EQ(accessibleName(control), control.text());
        EXPECT_EQ(accessibleRole(control), QAccessible::PushButton);
    }
}

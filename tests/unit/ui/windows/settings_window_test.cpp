#include "ui/windows/settings_window.h"
#include "platform/text_literals.h"

#include "settings/config.h"
#include "settings/keychain.h"
#include "settings/locations.h"
#include "support/fakes/fake_screens.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/fake_workspace.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "window_test_support.h"

#include <QClipboard>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QTemporaryDir>

using namespace tavlo;
using namespace tavlo::test;

namespace {

const QString kOpenAIAccount = u"openai_api_key"_s;
const QString kGroqAccount = u"groq_api_key"_s;

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

    LanguageScope m_language{u"nl"_s};
    QTemporaryDir m_folder;
    ManualMainQueue m_queue;
    MemoryLog m_log;
    FakeSecretStore m_secrets{m_queue};
    Keychain m_keychain{m_secrets};
    ConfigFile m_file{m_folder.filePath(u"config.json"_s), m_keychain, m_log};
    FakeScreens m_screens;
    FakeWorkspace m_workspace;
    int m_saved = 0;
    QString m_languageAtSave;
    SettingsWindow m_settings{{m_file, m_keychain, m_secrets, m_log, m_workspace, m_screens}, [this] {
                                  ++m_saved;
                                  m_languageAtSave = gLang;
                              }};
};

}  // namespace

TEST_F(SettingsWindowTest, TheLayoutIsTheAgreedTable)
{
    const WindowDescription layout = settingsWindowLayout();
    EXPECT_EQ(layout.title, u"Tavlo-instellingen"_s);
    EXPECT_EQ(layout.size, QSize(480, 506));
    const std::vector<WindowElement> elements{
        {.name = u"langLabel"_s, .kind = ElementKind::Label, .frame = {20, 472, 150, 17}},
        {.name = u"langPopup"_s, .kind = ElementKind::PopUp, .frame = {180, 466, 280, 26}},
        {.name = u"providerLabel"_s, .kind = ElementKind::Label, .frame = {20, 438, 150, 17}},
        {.name = u"providerPopup"_s, .kind = ElementKind::PopUp, .frame = {180, 432, 280, 26}},
        {.name = u"apiLabel"_s, .kind = ElementKind::Label, .frame = {20, 400, 300, 17}},
        {.name = u"keyPageButton"_s, .kind = ElementKind::SmallButton, .frame = {330, 396, 130, 24}, .pixelSize = 11},
        {.name = u"apiField"_s, .kind = ElementKind::TextField, .frame = {20, 368, 440, 24}},
        {.name = u"modelLabel"_s, .kind = ElementKind::Label, .frame = {20, 334, 150, 17}},
        {.name = u"modelPopup"_s, .kind = ElementKind::PopUp, .frame = {180, 328, 280, 26}},
        {.name = u"costLabel"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {20, 294, 448, 28},
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel},
        {.name = u"engineLabel"_s, .kind = ElementKind::Label, .frame = {20, 276, 150, 17}},
        {.name = u"enginePopup"_s, .kind = ElementKind::PopUp, .frame = {180, 270, 280, 26}},
        {.name = u"vocabLabel"_s, .kind = ElementKind::Label, .frame = {20, 242, 440, 17}},
        {.name = u"vocabView"_s, .kind = ElementKind::TextView, .frame = {20, 154, 440, 84}},
        {.name = u"duckCheck"_s, .kind = ElementKind::CheckBox, .frame = {20, 120, 440, 18}},
        {.name = u"duckLabel"_s, .kind = ElementKind::Label, .frame = {20, 88, 150, 17}},
        {.name = u"duckSlider"_s, .kind = ElementKind::Slider, .frame = {180, 86, 230, 20}},
        {.name = u"duckPct"_s, .kind = ElementKind::Label, .frame = {420, 88, 45, 17}},
        {.name = u"cancelButton"_s, .kind = ElementKind::Button, .frame = {250, 20, 100, 32}},
        {.name = u"saveButton"_s, .kind = ElementKind::DefaultButton, .frame = {360, 20, 100, 32}},
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
    EXPECT_EQ(labelText(window(), "langLabel"), u"Taal / Language:"_s);
    EXPECT_EQ(labelText(window(), "apiLabel"), u"API-sleutel (leeg = alleen gratis lokale Whisper):"_s);
    EXPECT_EQ(labelText(window(), "vocabLabel"), u"Woordenlijst - jargon en namen voor betere herkenning:"_s);
    EXPECT_EQ(labelText(window(), "duckLabel"), u"Restvolume muziek:"_s);
    EXPECT_EQ(form().duckCheck.text(), u"Muziek dempen tijdens opname"_s);
    EXPECT_EQ(title("keyPageButton"), u"Sleutel aanmaken ↗"_s);
    EXPECT_EQ(title("cancelButton"), u"Annuleer"_s);
    EXPECT_EQ(title("saveButton"), u"Bewaar"_s);
    gLang = u"en"_s;
    m_settings.openSettings();
    EXPECT_EQ(window().windowTitle(), u"Tavlo Settings"_s);
    EXPECT_EQ(labelText(window(), "langLabel"), u"Language / Taal:"_s);
    EXPECT_EQ(labelText(window(), "apiLabel"), u"API key (empty = free local Whisper only):"_s);
    EXPECT_EQ(labelText(window(), "vocabLabel"), u"Vocabulary - jargon and names for better recognition:"_s);
    EXPECT_EQ(labelText(window(), "duckLabel"), u"Remaining music volume:"_s);
    EXPECT_EQ(form().duckCheck.text(), u"Duck music while recording"_s);
    EXPECT_EQ(title("keyPageButton"), u"Create key ↗"_s);
    EXPECT_EQ(title("cancelButton"), u"Cancel"_s);
    EXPECT_EQ(title("saveButton"), u"Save"_s);
    EXPECT_EQ(form().providerPopup.itemText(1), u"Groq (cheapest)"_s);
}

TEST_F(SettingsWindowTest, OpeningShowsTheStoredSettings)
{
    write(u"engine"_s, u"local"_s);
    write(u"openai_model"_s, u"whisper-1"_s);
    write(u"vocabulary"_s, u" Tavlo,\nQt "_s);
    write(u"duck_enabled"_s, false);
    write(u"duck_volume"_s, 0.2);
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_settings.openSettings();
    EXPECT_EQ(form().langPopup.currentIndex(), 0);
    EXPECT_EQ(form().providerPopup.currentIndex(), 0);
    EXPECT_EQ(form().modelPopup.currentIndex(), 2);
    EXPECT_EQ(form().enginePopup.currentIndex(), 2);
    EXPECT_EQ(form().apiField.text(), u"sk-1"_s);
    EXPECT_EQ(form().apiField.echoMode(), QLineEdit::Normal);
    EXPECT_EQ(form().vocabulary(), u" Tavlo,\nQt "_s);
    EXPECT_FALSE(form().duckCheck.isChecked());
    EXPECT_EQ(form().duckPct.text(), u"20%"_s);
}

TEST_F(SettingsWindowTest, AnUnknownModelOpensWithTheFirstAndSavesIt)
{
    write(u"openai_model"_s, u"gpt-9-transcribe"_s);
    m_settings.openSettings();
    EXPECT_EQ(form().modelPopup.currentIndex(), 0);
    click("saveButton");
    EXPECT_EQ(stored().value(u"openai_model"_s).toString(), u"gpt-4o-transcribe"_s);
}

TEST_F(SettingsWindowTest, UnknownProviderAndEngineSelectTheFirst)
{
    write(u"provider"_s, u"acme"_s);
    write(u"engine"_s, u"magic"_s);
    m_settings.openSettings();
    EXPECT_EQ(form().providerPopup.currentIndex(), 0);
    EXPECT_EQ(form().enginePopup.currentIndex(), 0);
}

TEST_F(SettingsWindowTest, AKeyPastedWithATrailingLineBreakIsStoredWithoutIt)
{
    m_settings.openSettings();
    QGuiApplication::clipboard()->setText(u"  sk-pasted\r\n"_s);
    form().apiField.selectAll();
    form().apiField.paste();
    click("saveButton");
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), u"sk-pasted"_s);
}

TEST_F(SettingsWindowTest, SwitchingTheProviderReloadsEachKeyAndTheModels)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_keychain.set(u"gsk-2"_s, kGroqAccount);
    write(u"openai_model"_s, u"gpt-4o-mini-transcribe"_s);
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.placeholderText(), u"sk-..."_s);
    EXPECT_TRUE(form().costLabel.text().contains(u"$0,18"_s));
    form().apiField.setText(u"an edit"_s);
    choose(form().modelPopup, 2);

    choose(form().providerPopup, 1);
    EXPECT_EQ(form().apiField.text(), u"gsk-2"_s);
    EXPECT_EQ(form().apiField.placeholderText(), u"gsk_..."_s);
    EXPECT_EQ(form().modelPopup.count(), 1);
    EXPECT_EQ(form().modelPopup.currentText(), u"whisper-large-v3-turbo (snel & spotgoedkoop)"_s);
    EXPECT_TRUE(form().costLabel.text().contains(u"$0,04"_s));

    choose(form().providerPopup, 0);
    EXPECT_EQ(form().apiField.text(), u"sk-1"_s);
    EXPECT_EQ(form().modelPopup.count(), 3);
    EXPECT_EQ(form().modelPopup.currentIndex(), 1);
    EXPECT_TRUE(form().costLabel.text().contains(u"$0,18"_s));
}

TEST_F(SettingsWindowTest, ChoosingAModelChangesTheCosts)
{
    m_settings.openSettings();
    EXPECT_TRUE(form().costLabel.text().contains(u"$0,36"_s));
    choose(form().modelPopup, 1);
    EXPECT_TRUE(form().costLabel.text().contains(u"$0,18"_s));
}

TEST_F(SettingsWindowTest, SavingWithEnglishSelectedSpeaksEnglishAtOnce)
{
    m_settings.openSettings();
    form().langPopup.setCurrentIndex(1);
    click("saveButton");
    EXPECT_EQ(m_saved, 1);
    EXPECT_EQ(m_languageAtSave, u"en"_s);
    EXPECT_EQ(stored().value(u"app_language"_s).toString(), u"en"_s);
}

TEST_F(SettingsWindowTest, AnEighthIsSavedAs013AndShownAs13Percent)
{
    m_settings.openSettings();
    form().duckSlider.setFraction(0.125);
    EXPECT_EQ(form().duckPct.text(), u"13%"_s);
    click("saveButton");
    EXPECT_DOUBLE_EQ(stored().value(u"duck_volume"_s).toDouble(), 0.13);
}

TEST_F(SettingsWindowTest, TheSliderReachesAnEighthByHand)
{
    m_settings.openSettings();
    form().duckSlider.setValue(125);
    EXPECT_DOUBLE_EQ(form().duckSlider.fraction(), 0.125);
    EXPECT_EQ(form().duckPct.text(), u"13%"_s);
}

TEST_F(SettingsWindowTest, TheSliderKeepsWhatItWasGivenUntilItIsMoved)
{
    write(u"duck_volume"_s, 0.0849);
    m_settings.openSettings();
    EXPECT_EQ(form().duckPct.text(), u"8%"_s);
    click("saveButton");
    EXPECT_DOUBLE_EQ(stored().value(u"duck_volume"_s).toDouble(), 0.08);
}

TEST_F(SettingsWindowTest, AVolumeAboveTheSlidersTopShowsThirtyPercent)
{
    write(u"duck_volume"_s, 0.9);
    m_settings.openSettings();
    EXPECT_EQ(form().duckPct.text(), u"30%"_s);
}

TEST_F(SettingsWindowTest, TheSliderStartsAtEightPercent)
{
    EXPECT_DOUBLE_EQ(form().duckSlider.fraction(), 0.08);
    EXPECT_EQ(form().duckPct.text(), u"8%"_s);
}

TEST_F(SettingsWindowTest, SavingWritesEveryValueAndKeepsTheOthers)
{
    write(u"hotkey"_s, u"fn"_s);
    m_settings.openSettings();
    choose(form().providerPopup, 1);
    form().apiField.setText(u"gsk-new"_s);
    form().enginePopup.setCurrentIndex(1);
    form().vocabView.setPlainText(u"een\u00a0twee\n"_s);
    form().duckCheck.setChecked(false);
    form().duckSlider.setFraction(0.3);
    click("saveButton");
    EXPECT_EQ(stored(), (QJsonObject{{u"hotkey"_s, u"fn"_s},
                                     {u"app_language"_s, u"nl"_s},
                                     {u"provider"_s, u"groq"_s},
                                     {u"groq_model"_s, u"whisper-large-v3-turbo"_s},
                                     {u"engine"_s, u"openai"_s},
                                     {u"vocabulary"_s, u"een\u00a0twee\n"_s},
                                     {u"duck_enabled"_s, false},
                                     {u"duck_volume"_s, 0.3}}));
    EXPECT_EQ(m_keychain.get(kGroqAccount), u"gsk-new"_s);
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(m_log.lines(), QStringList{u"Instellingen bewaard via venster"_s});
}

TEST_F(SettingsWindowTest, AnEmptiedKeyIsRemovedFromTheKeyring)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
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
    form().apiField.setText(u"sk-x"_s);
    click("saveButton");
    EXPECT_EQ(m_saved, 1);
    m_secrets.setState(FakeSecretStore::State::Open);
    m_secrets.refusesToAdd = true;
    m_settings.openSettings();
    form().apiField.setText(u"sk-x"_s);
    click("saveButton");
    EXPECT_EQ(m_saved, 2);
}

TEST_F(SettingsWindowTest, AKeyThatASlowKeyringDidNotShowIsNotRemoved)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_secrets.isSlow = true;
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.text(), QString());
    click("saveButton");
    m_secrets.isSlow = false;
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), u"sk-1"_s);
}

TEST_F(SettingsWindowTest, AKeyTypedWhileTheKeyringIsSlowIsStored)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_secrets.isSlow = true;
    m_settings.openSettings();
    form().apiField.setText(u"sk-2"_s);
    click("saveButton");
    m_secrets.isSlow = false;
    EXPECT_EQ(m_keychain.get(kOpenAIAccount), u"sk-2"_s);
}

TEST_F(SettingsWindowTest, OpeningAsksForTheKeyringAndShowsTheKeyWhenItOpens)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_secrets.setState(FakeSecretStore::State::Locked);
    m_secrets.unlocksWhenAsked = true;
    m_queue.runPending();
    m_settings.openSettings();
    EXPECT_EQ(m_secrets.unlockRequests, 1);
    EXPECT_EQ(form().apiField.text(), QString());
    m_queue.runPending();
    EXPECT_EQ(form().apiField.text(), u"sk-1"_s);
}

TEST_F(SettingsWindowTest, AKeyringThatShowsTheKeyIsNotAskedToOpen)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_settings.openSettings();
    EXPECT_EQ(form().apiField.text(), u"sk-1"_s);
    EXPECT_EQ(m_secrets.unlockRequests, 0);
}

TEST_F(SettingsWindowTest, AKeyThatTheUserHasTypedStaysWhenTheKeyringOpens)
{
    m_keychain.set(u"sk-1"_s, kOpenAIAccount);
    m_secrets.setState(FakeSecretStore::State::Locked);
    m_queue.runPending();
    m_settings.openSettings();
    form().apiField.insert(u"sk-typed"_s);
    m_secrets.setState(FakeSecretStore::State::Open);
    m_queue.runPending();
    EXPECT_EQ(form().apiField.text(), u"sk-typed"_s);
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
    form().apiField.setText(u"edit"_s);
    form().vocabView.setPlainText(u"edit"_s);
    form().duckSlider.setFraction(0.2);
    window().close();
    m_settings.openSettings();
    EXPECT_EQ(form().enginePopup.currentIndex(), 0);
    EXPECT_EQ(form().apiField.text(), QString());
    EXPECT_EQ(form().vocabulary(), QString());
    EXPECT_EQ(form().duckPct.text(), u"8%"_s);
}

TEST_F(SettingsWindowTest, AReopenedVocabularyStandsAtItsBeginningWithNothingToUndo)
{
    write(u"vocabulary"_s, u"Tavlo, Whisper"_s);
    m_settings.openSettings();
    form().vocabView.moveCursor(QTextCursor::End);
    m_settings.closeSettings();
    m_settings.openSettings();
    EXPECT_EQ(form().vocabView.textCursor().position(), 0);

    form().vocabView.insertPlainText(u"x"_s);
    form().vocabView.undo();
    EXPECT_EQ(form().vocabulary(), u"Tavlo, Whisper"_s);
    m_settings.closeSettings();
    m_settings.openSettings();
    EXPECT_EQ(form().vocabulary(), u"Tavlo, Whisper"_s);
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
    form().vocabView.setPlainText(u"een"_s);
    form().vocabView.moveCursor(QTextCursor::End);
    press(form().vocabView, Qt::Key_Return, u"\r"_s);
    EXPECT_EQ(form().vocabulary(), u"een\n"_s);
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
    EXPECT_EQ(order, (QStringList{u"langPopup"_s, u"providerPopup"_s, u"keyPageButton"_s, u"apiField"_s,
                                  u"modelPopup"_s, u"enginePopup"_s, u"vocabView"_s, u"duckCheck"_s, u"duckSlider"_s,
                                  u"cancelButton"_s, u"saveButton"_s}));
}

TEST_F(SettingsWindowTest, EveryControlHasItsNameAndRole)
{
    m_settings.openSettings();
    EXPECT_EQ(labelOf(form().langPopup), window().widget(u"langLabel"_s));
    EXPECT_EQ(accessibleRole(form().langPopup), QAccessible::ComboBox);
    EXPECT_EQ(labelOf(form().providerPopup), window().widget(u"providerLabel"_s));
    EXPECT_EQ(accessibleName(form().apiField), u"API-sleutel (leeg = alleen gratis lokale Whisper)"_s);
    EXPECT_EQ(accessibleRole(form().apiField), QAccessible::EditableText);
    EXPECT_EQ(labelOf(form().modelPopup), window().widget(u"modelLabel"_s));
    EXPECT_EQ(labelOf(form().enginePopup), window().widget(u"engineLabel"_s));
    EXPECT_EQ(accessibleName(form().vocabView), u"Woordenlijst - jargon en namen voor betere herkenning"_s);
    EXPECT_EQ(accessibleRole(form().vocabView), QAccessible::EditableText);
    EXPECT_EQ(accessibleName(form().duckCheck), u"Muziek dempen tijdens opname"_s);
    EXPECT_EQ(accessibleRole(form().duckCheck), QAccessible::CheckBox);
    EXPECT_EQ(accessibleName(form().duckSlider), u"Restvolume muziek"_s);
    EXPECT_EQ(accessibleRole(form().duckSlider), QAccessible::Slider);
    EXPECT_EQ(accessibleName(form().costLabel), form().costLabel.text());
    EXPECT_EQ(accessibleRole(form().costLabel), QAccessible::StaticText);
    for (const char* button : {"keyPageButton", "cancelButton", "saveButton"}) {
        auto& control = window().control<QPushButton>(QString::fromLatin1(button));
        EXPECT_EQ(accessibleName(control), control.text());
        EXPECT_EQ(accessibleRole(control), QAccessible::PushButton);
    }
}

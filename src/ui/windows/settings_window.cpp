#include "ui/windows/settings_window.h"

#include "platform/screens.h"
#include "platform/secret_store.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/app_log.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "settings/locations.h"
#include "ui/windows/settings_form.h"

#include <QPushButton>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

WindowElement label(const QString& name, const QRect& frame, const QString& text, const QString& labelled)
{
    return {.name = name, .frame = frame, .text = text, .labelled = labelled};
}

WindowElement control(const QString& name, ElementKind kind, const QRect& frame)
{
    return {.name = name, .kind = kind, .frame = frame};
}

void fill(QComboBox& popUp, const QStringList& titles, int selected)
{
    popUp.clear();
    popUp.addItems(titles);
    popUp.setCurrentIndex(selected);
}

// What is selected when a choice is stored: nothing selected counts as the first entry.
int storedIndex(const QComboBox& popUp)
{
    return std::max(popUp.currentIndex(), 0);
}

}  // namespace

WindowDescription settingsWindowLayout()
{
    WindowDescription window{t(u"Tavlo-instellingen"_s, u"Tavlo Settings"_s), {480, 506}, {}};
    auto& elements = window.elements;

    elements.push_back(label(u"langLabel"_s, {20, 472, 150, 17}, t(u"Taal / Language:"_s, u"Language / Taal:"_s),
                             control_name::kLangPopup));
    elements.push_back(control(control_name::kLangPopup, ElementKind::PopUp, {180, 466, 280, 26}));

    elements.push_back(label(u"providerLabel"_s, {20, 438, 150, 17}, u"Provider:"_s, control_name::kProviderPopup));
    elements.push_back(control(control_name::kProviderPopup, ElementKind::PopUp, {180, 432, 280, 26}));

    elements.push_back(label(
        u"apiLabel"_s, {20, 400, 300, 17},
        t(u"API-sleutel (leeg = alleen gratis lokale Whisper):"_s, u"API key (empty = free local Whisper only):"_s),
        control_name::kApiField));
    elements.push_back({.name = control_name::kKeyPageButton,
                        .kind = ElementKind::SmallButton,
                        .frame = {330, 396, 130, 24},
                        .text = t(u"Sleutel aanmaken ↗"_s, u"Create key ↗"_s),
                        .pixelSize = 11});
    elements.push_back(control(control_name::kApiField, ElementKind::TextField, {20, 368, 440, 24}));

    elements.push_back(label(u"modelLabel"_s, {20, 334, 150, 17}, u"Model:"_s, control_name::kModelPopup));
    elements.push_back(control(control_name::kModelPopup, ElementKind::PopUp, {180, 328, 280, 26}));
    elements.push_back({.name = control_name::kCostLabel,
                        .kind = ElementKind::WrappingLabel,
                        .frame = {20, 294, 448, 28},
                        .pixelSize = 11,
                        .colour = ColourRole::SecondaryLabel});

    elements.push_back(label(u"engineLabel"_s, {20, 276, 150, 17}, u"Engine:"_s, control_name::kEnginePopup));
    elements.push_back(control(control_name::kEnginePopup, ElementKind::PopUp, {180, 270, 280, 26}));

    elements.push_back(label(u"vocabLabel"_s, {20, 242, 440, 17},
                             t(u"Woordenlijst - jargon en namen voor betere herkenning:"_s,
                               u"Vocabulary - jargon and names for better recognition:"_s),
                             control_name::kVocabView));
    elements.push_back(control(control_name::kVocabView, ElementKind::TextView, {20, 154, 440, 84}));

    elements.push_back({.name = control_name::kDuckCheck,
                        .kind = ElementKind::CheckBox,
                        .frame = {20, 120, 440, 18},
                        .text = t(u"Muziek dempen tijdens opname"_s, u"Duck music while recording"_s)});
    elements.push_back(label(u"duckLabel"_s, {20, 88, 150, 17},
                             t(u"Restvolume muziek:"_s, u"Remaining music volume:"_s), control_name::kDuckSlider));
    elements.push_back(control(control_name::kDuckSlider, ElementKind::Slider, {180, 86, 230, 20}));
    elements.push_back(control(control_name::kDuckPct, ElementKind::Label, {420, 88, 45, 17}));

    elements.push_back({.name = control_name::kCancelButton,
                        .kind = ElementKind::Button,
                        .frame = {250, 20, 100, 32},
                        .text = t(u"Annuleer"_s, u"Cancel"_s)});
    elements.push_back({.name = control_name::kSaveButton,
                        .kind = ElementKind::DefaultButton,
                        .frame = {360, 20, 100, 32},
                        .text = t(u"Bewaar"_s, u"Save"_s)});
    return window;
}

SettingsWindow::SettingsWindow(const SettingsWindowParts& parts, std::function<void()> saved)
    : m_parts(parts), m_saved(std::move(saved))
{
    // activated() comes for the user's own choices only, not when a pop-up is filled.
    QObject::connect(&m_form.providerPopup, &QComboBox::activated, &m_form.providerPopup,
                     [this] { providerChanged(); });
    QObject::connect(&m_form.modelPopup, &QComboBox::activated, &m_form.modelPopup, [this] { modelChanged(); });
    QObject::connect(&m_form.duckSlider, &QSlider::valueChanged, &m_form.duckSlider, [this] { sliderChanged(); });
    m_secretsWatch = m_parts.secrets.onAvailabilityChange([this] { secretsBecameAvailable(); });
}

std::unique_ptr<WindowFrame> SettingsWindow::buildSettingsWindow()
{
    // The window chooses each control's font by its titles, so they come first.
    fill(m_form.langPopup, langTitles(), 0);
    fill(m_form.providerPopup, providerTitles(), 0);
    fill(m_form.enginePopup, engineTitles(), 0);
    auto window = std::make_unique<WindowFrame>(settingsWindowLayout(), m_form.controls());
    const auto connectButton = [this, &window](const QString& name, void (SettingsWindow::*action)()) {
        auto& button = window->control<QPushButton>(name);
        QObject::connect(&button, &QPushButton::clicked, &button, [this, action] { (this->*action)(); });
    };
    connectButton(control_name::kKeyPageButton, &SettingsWindow::openKeyPage);
    connectButton(control_name::kSaveButton, &SettingsWindow::saveSettings);
    connectButton(control_name::kCancelButton, &SettingsWindow::closeSettings);
    window->onEscape = [this] { closeSettings(); };
    return window;
}

void SettingsWindow::openSettings()
{
    if (m_settingsWindow) {
        m_settingsWindow->hide();
    }
    m_parts.file.beginLoad();  // the keyring looks for the key while the window is built
    std::unique_ptr<WindowFrame> before = std::exchange(m_settingsWindow, buildSettingsWindow());
    // The window manager places the window while it is filled in; it is drawn afterwards.
    m_settingsWindow->bringToFront(m_parts.screens.mainVisibleFrame());
    // providerChanged() asks for the key.
    const Config config = m_parts.file.loadWithoutKey();
    m_form.langPopup.setCurrentIndex(indexOf(kLangValues, gLang));
    m_form.providerPopup.setCurrentIndex(indexOf(kProviderValues, config.provider));
    providerChanged();
    m_form.enginePopup.setCurrentIndex(indexOf(kEngineValues, config.engine));
    m_form.showVocabulary(config.vocabulary);
    m_form.duckCheck.setChecked(config.duckEnabled);
    m_form.duckSlider.setFraction(config.duckVolume);
    sliderChanged();
    if (before) {
        before.release()->deleteLater();
    }
    // A locked keyring shows no key. The desktop's prompt comes up in front of this window, and the key follows.
    if (m_loadedKey.isEmpty()) {
        m_parts.secrets.requestUnlock();
    }
}

void SettingsWindow::providerChanged()
{
    const QString& provider = selectedProvider();
    const Config config = m_parts.file.loadWithoutKey();
    if (provider == kProviderGroq) {
        fill(m_form.modelPopup, groqModelTitles(), 0);
        m_form.apiField.setPlaceholderText(u"gsk_..."_s);
    } else {
        fill(m_form.modelPopup, modelTitles(), indexOf(kModelValues, config.model));
        m_form.apiField.setPlaceholderText(u"sk-..."_s);
    }
    m_settingsWindow->refit(control_name::kModelPopup);
    loadKey();
    modelChanged();
}

void SettingsWindow::loadKey()
{
    m_loadedKey = m_parts.keychain.get(keyAccount(selectedProvider())).value_or(QString());
    m_keyAnswer = m_parts.keychain.answeredLastGet() ? KeyAnswer::Given : KeyAnswer::Missing;
    m_form.apiField.setText(m_loadedKey);
    // A long key is read from its beginning.
    m_form.apiField.setCursorPosition(0);
}

void SettingsWindow::secretsBecameAvailable()
{
    if (m_settingsWindow && m_settingsWindow->isVisible() && m_form.apiField.text() == m_loadedKey) {
        loadKey();
    }
}

void SettingsWindow::modelChanged()
{
    m_form.costLabel.showText(costText(selectedProvider(), m_form.modelPopup.currentIndex()));
}

void SettingsWindow::sliderChanged()
{
    const QString percent = percentText(m_form.duckSlider.fraction());
    m_form.duckPct.showText(percent);
    // A screen reader would otherwise read out the slider's own number, in thousandths.
    m_form.duckSlider.setAccessibleDescription(percent);
}

void SettingsWindow::openKeyPage()
{
    const QString& provider = selectedEntry(kProviderValues, storedIndex(m_form.providerPopup));
    const QUrl page(provider == kProviderGroq ? kGroqKeyPageURL : kOpenAIKeyPageURL);
    if (page.isValid()) {
        m_parts.workspace.open(page);
    }
}

void SettingsWindow::saveSettings()
{
    ConfigFile& file = m_parts.file;
    const QString& language = selectedEntry(kLangValues, storedIndex(m_form.langPopup));
    file.update(setting::kAppLanguage, language);
    gLang = language;

    const QString& provider = selectedEntry(kProviderValues, storedIndex(m_form.providerPopup));
    file.update(setting::kProvider, provider);
    storeKey(provider);
    if (provider == kProviderGroq) {
        file.update(setting::kGroqModel, kGroqModels.front());
    } else {
        file.update(setting::kOpenAIModel, selectedEntry(kModelValues, storedIndex(m_form.modelPopup)));
    }
    file.update(setting::kEngine, selectedEntry(kEngineValues, storedIndex(m_form.enginePopup)));
    file.update(setting::kVocabulary, m_form.vocabulary());
    file.update(setting::kDuckEnabled, m_form.duckCheck.isChecked());
    file.update(setting::kDuckVolume, storedVolume(m_form.duckSlider.fraction()));

    closeSettings();
    m_parts.log.appLog(u"Instellingen bewaard via venster"_s);
    m_saved();
}

// Stored even when empty, which removes the key. A keyring that refuses it is silent by design.
void SettingsWindow::storeKey(const QString& provider)
{
    const QString key = m_form.apiField.text().trimmed();
    // The keyring timed out when it was asked for the key. It may well have one, and would remove it now, although the
    // user only left the field empty.
    if (m_keyAnswer == KeyAnswer::Missing && key.isEmpty()) {
        return;
    }
    m_parts.keychain.set(key, keyAccount(provider));
}

void SettingsWindow::closeSettings()
{
    if (m_settingsWindow) {
        m_settingsWindow->hide();
    }
}

const QString& SettingsWindow::selectedProvider() const
{
    return selectedEntry(kProviderValues, m_form.providerPopup.currentIndex());
}

}  // namespace tavlo

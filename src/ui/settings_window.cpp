#include "ui/settings_window.h"

#include "platform/screens.h"
#include "platform/secret_store.h"
#include "platform/workspace.h"
#include "settings/app_log.h"
#include "settings/config_file.h"
#include "settings/keychain.h"
#include "settings/language.h"
#include "settings/locations.h"
#include "ui/settings_tables.h"
#include "ui/settings_window_layout.h"

#include <QPushButton>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

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

SettingsWindow::SettingsWindow(SettingsWindowParts parts) : m_parts(std::move(parts))
{
    // Only the user's own choices are actions; filling the pop-ups is none.
    QObject::connect(&m_form.providerPopup, &QComboBox::activated, &m_form.providerPopup,
                     [this] { providerChanged(); });
    QObject::connect(&m_form.modelPopup, &QComboBox::activated, &m_form.modelPopup, [this] { modelChanged(); });
    QObject::connect(&m_form.duckSlider, &QSlider::valueChanged, &m_form.duckSlider, [this] { sliderChanged(); });
    m_secretsWatch = m_parts.secrets.onAvailabilityChange([this] { secretsBecameAvailable(); });
}

std::unique_ptr<WindowFrame> SettingsWindow::buildSettingsWindow()
{
    // The titles are known before the window is built, which chooses each control's font by them.
    fill(m_form.langPopup, langTitles(), 0);
    fill(m_form.providerPopup, providerTitles(), 0);
    fill(m_form.enginePopup, engineTitles(), 0);
    auto window = std::make_unique<WindowFrame>(settingsWindowLayout(), m_form.controls());
    const auto connectButton = [this, &window](const QString& name, void (SettingsWindow::*action)()) {
        auto& button = window->control<QPushButton>(name);
        QObject::connect(&button, &QPushButton::clicked, &button, [this, action] { (this->*action)(); });
    };
    connectButton(QStringLiteral("keyPageButton"), &SettingsWindow::openKeyPage);
    connectButton(QStringLiteral("saveButton"), &SettingsWindow::saveSettings);
    connectButton(QStringLiteral("cancelButton"), &SettingsWindow::closeSettings);
    window->onEscape = [this] { closeSettings(); };
    return window;
}

void SettingsWindow::openSettings()
{
    if (m_settingsWindow) {
        m_settingsWindow->hide();
    }
    m_parts.file.beginLoad();  // The key is looked for while the window is built.
    std::unique_ptr<WindowFrame> before = std::exchange(m_settingsWindow, buildSettingsWindow());
    // The window manager places the window while it is filled in; it is not drawn before that is done.
    m_settingsWindow->bringToFront(m_parts.screens.mainVisibleFrame());
    // The key is asked for by providerChanged.
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
    if (provider == kProviderValues[1]) {
        fill(m_form.modelPopup, groqModelTitles(), 0);
        m_form.apiField.setPlaceholderText(QStringLiteral("gsk_..."));
    } else {
        fill(m_form.modelPopup, modelTitles(), indexOf(kModelValues, config.model));
        m_form.apiField.setPlaceholderText(QStringLiteral("sk-..."));
    }
    m_settingsWindow->refit(QStringLiteral("modelPopup"));
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
    // The slider's own number, in thousandths, tells nobody anything.
    m_form.duckSlider.setAccessibleDescription(percent);
}

void SettingsWindow::openKeyPage()
{
    const QString& provider = selectedEntry(kProviderValues, storedIndex(m_form.providerPopup));
    const QUrl page(provider == kProviderValues[1] ? kGroqKeyPageURL : kOpenAIKeyPageURL);
    if (page.isValid()) {
        m_parts.workspace.open(page);
    }
}

void SettingsWindow::saveSettings()
{
    ConfigFile& file = m_parts.file;
    const QString& language = selectedEntry(kLangValues, storedIndex(m_form.langPopup));
    file.update(QStringLiteral("app_language"), language);
    gLang = language;

    const QString& provider = selectedEntry(kProviderValues, storedIndex(m_form.providerPopup));
    file.update(QStringLiteral("provider"), provider);
    storeKey(provider);
    if (provider == kProviderValues[1]) {
        file.update(QStringLiteral("groq_model"), kGroqModels.front());
    } else {
        file.update(QStringLiteral("openai_model"), selectedEntry(kModelValues, storedIndex(m_form.modelPopup)));
    }
    file.update(QStringLiteral("engine"), selectedEntry(kEngineValues, storedIndex(m_form.enginePopup)));
    file.update(QStringLiteral("vocabulary"), m_form.vocabulary());
    file.update(QStringLiteral("duck_enabled"), m_form.duckCheck.isChecked());
    file.update(QStringLiteral("duck_volume"), storedVolume(m_form.duckSlider.fraction()));

    closeSettings();
    m_parts.log.appLog(QStringLiteral("Instellingen bewaard via venster"));
    m_parts.saved();
}

// Stored even when empty, which removes the key. A keyring that refuses it is silent by design.
void SettingsWindow::storeKey(const QString& provider)
{
    const QString key = m_form.apiField.text().trimmed();
    // A keyring that was too slow to show its key has one perhaps, and removes it once it wakes. The user, who has
    // left the field as it was, has not asked for that.
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

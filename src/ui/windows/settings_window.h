#pragma once

#include "platform/registration.h"
#include "ui/window_description.h"
#include "ui/windows/settings_form.h"

#include <functional>
#include <memory>

namespace tavlo {

class AppLog;
class ConfigFile;
class Keychain;
class Screens;
class SecretStore;
class Workspace;

// The settings window in the interface language. Of the controls that outlive the window (see SettingsForm) it holds
// the places only.
WindowDescription settingsWindowLayout();

// What the settings window reads, writes and calls. All of it outlives the window.
struct SettingsWindowParts {
    ConfigFile& file;
    Keychain& keychain;
    SecretStore& secrets;
    AppLog& log;
    Workspace& workspace;
    Screens& screens;
};

// The window in which the user edits the settings and the API keys. Built anew at every opening. Main thread.
class SettingsWindow {
public:
    // `saved` runs after each save, when the interface language is the one just saved.
    SettingsWindow(const SettingsWindowParts& parts, std::function<void()> saved);

    void openSettings();
    // The provider pop-up changed: shows that provider's models, stored key and costs.
    void providerChanged();
    void modelChanged();
    void sliderChanged();
    void openKeyPage();
    void saveSettings();
    void closeSettings();

    // The current window; none before the first opening.
    WindowFrame* settingsWindow() { return m_settingsWindow.get(); }
    SettingsForm& form() { return m_form; }

private:
    // Whether the keyring answered at all. If it timed out, an empty key field does not mean that there is no key.
    enum class KeyAnswer { Given, Missing };

    std::unique_ptr<WindowFrame> buildSettingsWindow();
    void loadKey();
    void storeKey(const QString& provider);
    void secretsBecameAvailable();
    const QString& selectedProvider() const;

    SettingsWindowParts m_parts;
    std::function<void()> m_saved;
    QString m_loadedKey;  // what the key field showed before the user's edits
    KeyAnswer m_keyAnswer = KeyAnswer::Given;
    std::unique_ptr<WindowFrame> m_settingsWindow;
    // After the window, which must not destroy the controls: they leave it first.
    SettingsForm m_form;
    Registration m_secretsWatch;
};

}  // namespace tavlo

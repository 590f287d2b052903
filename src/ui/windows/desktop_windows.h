#pragma once

#include "ui/windows/about_window.h"
#include "ui/windows/app_windows.h"
#include "ui/windows/settings_window.h"
#include "ui/windows/typing_key_alert.h"

#include <QString>

#include <optional>

namespace tavlo {

// The menu's windows as real ones. Main thread.
class DesktopWindows : public AppWindows {
public:
    // `version` as in AboutWindow. What `settings` refers to outlives this object.
    DesktopWindows(const SettingsWindowParts& settings, const QString& version);

    void openSettings() override;
    Registration onSettingsSaved(std::function<void()> saved) override;
    void openAbout() override;
    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override;

private:
    const SettingsWindowParts m_settingsParts;
    HandlerList<> m_saved;
    // Made at its first opening: its controls load fonts, which no user needs who only dictates.
    std::optional<SettingsWindow> m_settings;
    AboutWindow m_about;
    TypingKeyAlertBox m_alert;
};

}  // namespace tavlo

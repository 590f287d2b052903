#include "ui/windows/desktop_windows.h"

#include <utility>

namespace tavlo {

DesktopWindows::DesktopWindows(const SettingsWindowParts& settings, const QString& version)
    : m_settingsParts(settings), m_about(version, settings.screens, settings.workspace)
{
}

void DesktopWindows::openSettings()
{
    if (!m_settings) {
        m_settings.emplace(m_settingsParts, [this] { m_saved.call(); });
    }
    m_settings->openSettings();
}

Registration DesktopWindows::onSettingsSaved(std::function<void()> saved)
{
    return m_saved.add(std::move(saved));
}

void DesktopWindows::openAbout()
{
    m_about.openAbout();
}

void DesktopWindows::showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered)
{
    m_alert.show(alert, std::move(answered));
}

}  // namespace tavlo

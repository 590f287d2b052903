#include "app/desktop_windows.h"

#include <utility>

namespace tavlo {

DesktopWindows::DesktopWindows(SettingsWindowParts settings, const QString& version, AboutWindowActions about)
    : m_settingsParts(settings), m_about(version, settings.screens, std::move(about))
{
}

void DesktopWindows::openSettings()
{
    if (!m_settings) {
        m_settings.emplace(m_settingsParts);
    }
    m_settings->openSettings();
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

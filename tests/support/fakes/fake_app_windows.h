#pragma once

#include "ui/windows/app_windows.h"

#include <QtGlobal>

#include <functional>
#include <utility>
#include <vector>

namespace tavlo {

// Keeps what was opened, and the warnings, which the test answers for the user.
class FakeAppWindows : public AppWindows {
public:
    void openSettings() override
    {
        ++settingsCount;
        if (onOpenSettings) {
            onOpenSettings();
        }
    }
    Registration onSettingsSaved(std::function<void()> handler) override { return saved.add(std::move(handler)); }
    void openAbout() override
    {
        ++aboutCount;
        if (onOpenAbout) {
            onOpenAbout();
        }
    }
    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override
    {
        alerts.push_back(alert);
        m_answered = std::move(answered);
    }

    bool isAlertOpen() const { return static_cast<bool>(m_answered); }
    // Gives the user's answer to the warning that is shown. There must be one.
    void answer(TypingKeyAnswer given)
    {
        const auto answered = std::exchange(m_answered, nullptr);
        if (!answered) {
            qFatal("No warning waits for the user's answer.");
        }
        answered(given);
    }

    HandlerList<> saved;  // called by the test
    int settingsCount = 0;
    int aboutCount = 0;
    std::vector<TypingKeyAlert> alerts;  // all of them, oldest first
    // For a test that looks at the order of things.
    std::function<void()> onOpenSettings;
    std::function<void()> onOpenAbout;

private:
    std::function<void(TypingKeyAnswer)> m_answered;
};

}  // namespace tavlo

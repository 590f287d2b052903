#pragma once

#include "hotkeys/hotkey_capture.h"
#include "platform/registration.h"

#include <functional>

namespace tavlo {

// The windows that the menu opens. Main thread.
class AppWindows {
public:
    virtual ~AppWindows() = default;

    virtual void openSettings() = 0;
    // `saved` runs after each save in the settings window.
    [[nodiscard]] virtual Registration onSettingsSaved(std::function<void()> saved) = 0;
    virtual void openAbout() = 0;
    // See HotkeyDisplay.
    virtual void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) = 0;
};

}  // namespace tavlo

#pragma once

#include "hotkeys/hotkey_capture.h"

#include <QMessageBox>
#include <QPointer>

#include <functional>

namespace tavlo {

// The warning that a captured key is one of ordinary typing. There is one alert at a time: a new one cancels the one
// before. Main thread.
class TypingKeyAlertBox {
public:
    TypingKeyAlertBox() = default;
    TypingKeyAlertBox(const TypingKeyAlertBox&) = delete;
    TypingKeyAlertBox& operator=(const TypingKeyAlertBox&) = delete;
    // An alert that is still open closes without an answer.
    ~TypingKeyAlertBox();

    // Shows the alert, in front of all windows, and returns at once. `answered` runs once, later; Escape and the
    // close box count as Cancel.
    void show(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered);

    // The alert that is open, if any.
    QMessageBox* box() { return m_box; }

private:
    QPointer<QMessageBox> m_box;
};

}  // namespace tavlo

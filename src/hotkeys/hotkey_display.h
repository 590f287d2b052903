#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace tavlo {

enum class TypingKeyAnswer { ChooseAnother, UseAnyway, Cancel };

struct TypingKeyAlert {
    QString title;
    QString text;
    QString chooseAnother;  // the default button
    QString useAnyway;
    QString cancel;
};

// What choosing a hotkey shows, and the part of the session's state that it shares. Main thread.
class HotkeyDisplay {
public:
    virtual ~HotkeyDisplay() = default;

    virtual bool isRecording() const = 0;
    virtual bool isBusy() const = 0;
    virtual bool isCapturing() const = 0;
    // Shows in the icon as well, at once.
    virtual void setCapturing(bool capturing) = 0;
    // Sets the status line and rebuilds the menu.
    virtual void setStatusLine(const QString& text) = 0;
    virtual void showMessage(const QString& text, std::optional<double> autoHideSeconds) = 0;
    virtual void hideMessage() = 0;
    // Shows a modal warning in front of all windows; `answered` runs once, later, on the main thread. Closing the
    // alert counts as Cancel.
    virtual void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) = 0;
};

}  // namespace tavlo

#pragma once

#include "hotkeys/hotkey_capture.h"
#include "platform/text_literals.h"

#include <vector>

namespace tavlo {

// Keeps what choosing a hotkey shows, and the session's state that it shares.
class FakeHotkeyDisplay : public HotkeyDisplay {
public:
    struct Message {
        QString text;
        std::optional<double> autoHideSeconds;

        bool operator==(const Message&) const = default;
    };

    bool isRecording() const override { return recording; }
    bool isBusy() const override { return busy; }
    bool isCapturing() const override { return capturing; }
    void setCapturing(bool value) override { capturing = value; }

    void setStatusLine(const QString& text) override
    {
        statusLine = text;
        ++menuBuilds;
    }

    void showMessage(const QString& text, std::optional<double> autoHideSeconds) override
    {
        message = Message{text, autoHideSeconds};
    }

    void hideMessage() override { message.reset(); }

    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override
    {
        alerts.push_back(alert);
        answer = std::move(answered);
    }

    bool recording = false;
    bool busy = false;
    bool capturing = false;
    QString statusLine;
    int menuBuilds = 0;
    std::optional<Message> message;
    std::vector<TypingKeyAlert> alerts;
    // Gives the user's answer to the last alert.
    std::function<void(TypingKeyAnswer)> answer;
};

}  // namespace tavlo

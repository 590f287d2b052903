#pragma once

#include "hotkeys/hotkey_display.h"

namespace tavlo {

class AppWindows;
class MessageOverlay;
class StatusBoard;
struct SessionState;

// What choosing a hotkey shows: in the session's state and on its board, in the message overlay and in a window.
// Main thread.
class CaptureDisplay : public HotkeyDisplay {
public:
    // All of it outlives the display.
    CaptureDisplay(SessionState& state, StatusBoard& board, MessageOverlay& msgHud, AppWindows& windows);

    bool isRecording() const override;
    bool isBusy() const override;
    bool isCapturing() const override;
    void setCapturing(bool capturing) override;
    void setStatusLine(const QString& text) override;
    void showMessage(const QString& text, std::optional<double> autoHideSeconds) override;
    void hideMessage() override;
    void showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered) override;

private:
    SessionState& m_state;
    StatusBoard& m_board;
    MessageOverlay& m_msgHud;
    AppWindows& m_windows;
};

}  // namespace tavlo

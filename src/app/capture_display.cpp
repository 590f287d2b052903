#include "app/capture_display.h"

#include "app/status_board.h"
#include "ui/overlays/overlays.h"
#include "ui/windows/app_windows.h"

#include <utility>

namespace tavlo {

CaptureDisplay::CaptureDisplay(SessionState& state, StatusBoard& board, MessageOverlay& msgHud, AppWindows& windows)
    : m_state(state), m_board(board), m_msgHud(msgHud), m_windows(windows)
{
}

bool CaptureDisplay::isRecording() const
{
    return m_state.recording;
}

bool CaptureDisplay::isBusy() const
{
    return m_state.busy;
}

bool CaptureDisplay::isCapturing() const
{
    return m_state.capturing;
}

void CaptureDisplay::setCapturing(bool capturing)
{
    m_state.capturing = capturing;
    m_board.updateIcon();
    m_board.tellKeyboard();
}

void CaptureDisplay::setStatusLine(const QString& text)
{
    m_board.setStatusLine(text);
}

void CaptureDisplay::showMessage(const QString& text, std::optional<double> autoHideSeconds)
{
    m_msgHud.show(text, autoHideSeconds);
}

void CaptureDisplay::hideMessage()
{
    m_msgHud.hide();
}

void CaptureDisplay::showTypingKeyAlert(const TypingKeyAlert& alert, std::function<void(TypingKeyAnswer)> answered)
{
    // The capture is over while the user thinks about the alert, which does not change the menu.
    m_board.publish();
    m_windows.showTypingKeyAlert(alert, std::move(answered));
}

}  // namespace tavlo

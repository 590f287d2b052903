#pragma once

#include "platform/queues.h"

#include <QString>

namespace tavlo {

class Pasteboard;
class PasteKeystroke;
class SoundPlayer;
class StatusBoard;
struct SessionState;

// Puts a finished text where the keyboard is. Main thread.
class TextDelivery {
public:
    TextDelivery(SessionState& state, MainQueue& queue, Pasteboard& pasteboard, PasteKeystroke& keystroke,
                 SoundPlayer& sounds, StatusBoard& board);

    // Replaces the clipboard by `text` and sends the paste keystroke 150 ms later; where this process may not type
    // into other applications, tells the user to paste by hand.
    void paste(const QString& text);
    // Repeats the last delivery; nothing when there was none.
    void pasteAgain();

private:
    SessionState& m_state;
    MainQueue& m_queue;
    Pasteboard& m_pasteboard;
    PasteKeystroke& m_keystroke;
    SoundPlayer& m_sounds;
    StatusBoard& m_board;
    Lifetime m_lifetime;
};

}  // namespace tavlo

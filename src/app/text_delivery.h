#pragma once

#include "platform/queues.h"

#include <QString>

namespace tavlo {

class Pasteboard;
class PasteKeystroke;
class SoundPlayer;
class StatusBoard;
class Workspace;
struct SessionState;

// Puts a finished text where the keyboard is. Main thread.
class TextDelivery {
public:
    TextDelivery(SessionState& state, MainQueue& queue, Pasteboard& pasteboard, PasteKeystroke& keystroke,
                 SoundPlayer& sounds, Workspace& workspace, StatusBoard& board);

    // Replaces the clipboard by `text` and sends the paste keystroke 150 ms later; where this process may not type
    // into other applications, tells the user to paste by hand and opens the page that says how to allow it again.
    void paste(const QString& text);
    // Repeats the last delivery; nothing when there was none.
    void pasteAgain();

private:
    SessionState& m_state;
    MainQueue& m_queue;
    Pasteboard& m_pasteboard;
    PasteKeystroke& m_keystroke;
    SoundPlayer& m_sounds;
    Workspace& m_workspace;
    StatusBoard& m_board;
    Lifetime m_lifetime;
};

}  // namespace tavlo

#include "app/text_delivery.h"

#include "app/status_board.h"
#include "audio/sound_cues.h"
#include "platform/paste.h"
#include "platform/sound_player.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/language.h"
#include "settings/locations.h"

#include <functional>

namespace tavlo {

namespace {

// Time for the clipboard's new owner to become known before an application asks for its content.
constexpr std::chrono::milliseconds kKeystrokeDelay{150};

}  // namespace

TextDelivery::TextDelivery(SessionState& state, MainQueue& queue, Pasteboard& pasteboard, PasteKeystroke& keystroke,
                           SoundPlayer& sounds, Workspace& workspace, StatusBoard& board)
    : m_state(state),
      m_queue(queue),
      m_pasteboard(pasteboard),
      m_keystroke(keystroke),
      m_sounds(sounds),
      m_workspace(workspace),
      m_board(board)
{
}

void TextDelivery::paste(const QString& text)
{
    m_pasteboard.setText(text);
    if (m_keystroke.isTrusted()) {
        m_queue.postAfter(kKeystrokeDelay, m_lifetime.reference(),
                          std::bind_front(&PasteKeystroke::sendPaste, &m_keystroke));
        return;
    }
    m_board.setStatusLine(
        t(u"⚠️ Tekst staat op klembord (⌘V) - zet Toegankelijkheid weer aan voor automatisch plakken"_s,
          u"⚠️ Text is on the clipboard (⌘V) - re-enable Accessibility for automatic pasting"_s));
    m_sounds.play(sound(SoundCue::Alert), 0.4F);
    m_workspace.open(QUrl(kPasteHelpURL));
}

void TextDelivery::pasteAgain()
{
    if (!m_state.lastText.isEmpty()) {
        paste(m_state.lastText);
    }
}

}  // namespace tavlo

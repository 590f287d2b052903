#include "linux/wayland/wayland_paste_keystroke.h"

#include "linux/paste_chord.h"

#include <iterator>

#include <linux/input-event-codes.h>

namespace tavlo {

WaylandPasteKeystroke::WaylandPasteKeystroke(WaylandConnection& connection, Pasteboard& pasteboard)
    : m_connection(connection), m_pasteboard(pasteboard), m_focused(connection), m_keyboard(connection)
{
}

bool WaylandPasteKeystroke::isTrusted()
{
    return m_keyboard.isThere() && m_connection.isConnected();
}

void WaylandPasteKeystroke::sendPaste()
{
    if (!isTrusted()) {
        return;
    }
    // Where the focused program is not known, Shift+Insert is the one chord that editors and terminals understand
    // alike.
    const std::optional<QByteArray> application = m_focused.name();
    switch (application ? pasteChordFor({*application}) : PasteChord::ShiftInsert) {
        case PasteChord::ControlV:
            type({KEY_LEFTCTRL, KEY_V});
            break;
        case PasteChord::ControlShiftV:
            type({KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V});
            break;
        case PasteChord::ShiftInsert:
            m_pasteboard.offerPrimarySelection();
            type({KEY_LEFTSHIFT, KEY_INSERT});
            break;
    }
}

void WaylandPasteKeystroke::type(std::initializer_list<std::uint32_t> codes)
{
    for (const std::uint32_t code : codes) {
        m_keyboard.press(code);
    }
    for (auto code = std::rbegin(codes); code != std::rend(codes); ++code) {
        m_keyboard.release(*code);
    }
    m_connection.flush();
}

}  // namespace tavlo

#include "linux/wayland/wayland_paste_keystroke.h"

#include "linux/paste_chord.h"
#include "platform/text_literals.h"

#include <iterator>

#include <linux/input-event-codes.h>

namespace tavlo {

WaylandPasteKeystroke::WaylandPasteKeystroke(WaylandConnection& connection, Pasteboard& pasteboard)
    : m_connection(connection),
      m_pasteboard(pasteboard),
      m_focused(connection),
      m_virtualKeyboard(connection),
      m_fakeInput(connection)
{
}

bool WaylandPasteKeystroke::isTrusted()
{
    return keyboard() != nullptr;
}

QString WaylandPasteKeystroke::serviceName()
{
    const ChordKeyboard* const used = keyboard();
    return used == nullptr ? QString() : used == &m_virtualKeyboard ? u"virtual-keyboard"_s : u"fake_input"_s;
}

ChordKeyboard* WaylandPasteKeystroke::keyboard()
{
    for (ChordKeyboard* const each :
         {static_cast<ChordKeyboard*>(&m_virtualKeyboard), static_cast<ChordKeyboard*>(&m_fakeInput)}) {
        if (each->isThere() && m_connection.isConnected()) {
            return each;
        }
    }
    return nullptr;
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
    ChordKeyboard& used = *keyboard();
    for (const std::uint32_t code : codes) {
        used.press(code);
    }
    for (auto code = std::rbegin(codes); code != std::rend(codes); ++code) {
        used.release(*code);
    }
    m_connection.flush();
}

}  // namespace tavlo

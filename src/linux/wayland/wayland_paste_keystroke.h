#pragma once

#include "linux/wayland/focused_application.h"
#include "linux/wayland/virtual_keyboard.h"
#include "platform/paste.h"

#include <initializer_list>

namespace tavlo {

// Types the paste chord on a keyboard of our own. Main thread.
class WaylandPasteKeystroke : public PasteKeystroke {
public:
    // Both outlive it.
    WaylandPasteKeystroke(WaylandConnection& connection, Pasteboard& pasteboard);

    bool isTrusted() override;
    void sendPaste() override;

private:
    void type(std::initializer_list<std::uint32_t> codes);

    WaylandConnection& m_connection;
    Pasteboard& m_pasteboard;
    FocusedApplication m_focused;
    VirtualKeyboard m_keyboard;
};

}  // namespace tavlo

#pragma once

#include "linux/wayland/fake_input.h"
#include "linux/wayland/focused_application.h"
#include "linux/wayland/virtual_keyboard.h"
#include "platform/paste.h"

#include <QString>

#include <initializer_list>

namespace tavlo {

// Types the paste chord in the first way that the compositor allows. Main thread.
class WaylandPasteKeystroke : public PasteKeystroke {
public:
    // Both outlive it.
    WaylandPasteKeystroke(WaylandConnection& connection, Pasteboard& pasteboard);

    bool isTrusted() override;
    void sendPaste() override;
    // What it types with; empty while it can not.
    QString serviceName();

private:
    // Null where the compositor lets this program type nothing.
    ChordKeyboard* keyboard();
    void type(std::initializer_list<std::uint32_t> codes);

    WaylandConnection& m_connection;
    Pasteboard& m_pasteboard;
    FocusedApplication m_focused;
    VirtualKeyboard m_virtualKeyboard;
    FakeInput m_fakeInput;
};

}  // namespace tavlo

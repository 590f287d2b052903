#pragma once

#include "linux/wayland/chord_keyboard.h"
#include "linux/wayland/wayland_connection.h"

struct org_kde_kwin_fake_input;

namespace tavlo {

// KWin's own way: keys as if from the user's keyboards, in the user's layout. KWin shows it to programs only whose
// desktop entry asks for it.
class FakeInput : public ChordKeyboard {
public:
    // `connection` outlives it.
    explicit FakeInput(WaylandConnection& connection);

    bool isThere() const override { return m_input != nullptr; }
    void press(std::uint32_t code) override;
    void release(std::uint32_t code) override;

private:
    WaylandPointer<org_kde_kwin_fake_input> m_input;
};

}  // namespace tavlo

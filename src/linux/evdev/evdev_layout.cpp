#include "linux/evdev/evdev_layout.h"

#include <linux/input-event-codes.h>

#include <algorithm>

namespace tavlo {

namespace {

constexpr std::uint16_t kXkbOffset = 8;  // a keyboard description counts the kernel's codes from 8

}  // namespace

EvdevLayout::EvdevLayout() : m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS)), m_keyCodes(keyCodesOf(nullptr))
{
    if (m_context) {
        xkb_context_set_log_level(m_context.get(), XKB_LOG_LEVEL_CRITICAL);
        use(XkbKeymap(xkb_keymap_new_from_names(m_context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS)));
    }
}

void EvdevLayout::setKeymap(const std::string& text)
{
    if (m_context) {
        use(XkbKeymap(xkb_keymap_new_from_string(m_context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                                 XKB_KEYMAP_COMPILE_NO_FLAGS)));
    }
}

void EvdevLayout::use(XkbKeymap keymap)
{
    const KeyCodes codes = keyCodesOf(keymap.get());
    // A program that types may bring a keyboard of a few keys, of which the whole desktop is told.
    if (std::find(codes.begin(), codes.end(), KeyCode::RightCommand) != codes.end()) {
        m_keymap = std::move(keymap);
        m_keyCodes = codes;
    }
}

KeyCode EvdevLayout::keyCode(std::uint16_t code) const
{
    if (code == KEY_FN) {
        return KeyCode::Function;
    }
    const auto key = static_cast<std::uint16_t>(code + kXkbOffset);
    return key < m_keyCodes.size() ? m_keyCodes[key] : static_cast<KeyCode>(kFirstUnnamedKeyCode + key);
}

QString EvdevLayout::typedText(std::uint16_t code) const
{
    const xkb_keycode_t key = code + xkb_keycode_t{kXkbOffset};
    return m_keymap ? tavlo::typedText(levelOneSymbol(m_keymap.get(), key, 0)) : QString();
}

}  // namespace tavlo

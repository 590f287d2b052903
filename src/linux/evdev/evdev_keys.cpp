#include "linux/evdev/evdev_keys.h"

#include <algorithm>
#include <utility>

namespace tavlo {

namespace {

// Buttons of mice, pads and joysticks, which some keyboards have too.
bool isButton(std::uint16_t code)
{
    return (code >= BTN_MISC && code < KEY_OK) || (code >= BTN_DPAD_UP && code <= BTN_DPAD_RIGHT) ||
           (code >= BTN_TRIGGER_HAPPY && code <= BTN_TRIGGER_HAPPY40);
}

}  // namespace

EvdevKeySet keysToRead(const KeyInterest& interest, const EvdevLayout& layout)
{
    EvdevKeySet keys;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto code = static_cast<std::uint16_t>(i);
        const KeyCode keyCode = layout.keyCode(code);
        keys.set(i, !isButton(code) && (interest.everyKey || keyCode == interest.hotkey || isModifierKey(keyCode) ||
                                        keyCode == KeyCode::Escape));
    }
    return keys;
}

EvdevKeys::EvdevKeys(const EvdevLayout& layout, Handler keyDown, Handler flagsChanged)
    : m_layout(layout), m_keyDown(std::move(keyDown)), m_flagsChanged(std::move(flagsChanged))
{
}

void EvdevKeys::change(Device device, const EvdevKey& key)
{
    EvdevKeySet& down = m_down[device];
    const bool isRelease = key.action == EvdevAction::Release;
    if (isButton(key.code) || (isRelease && !down.test(key.code))) {
        return;
    }
    const bool wasDown = isDownAnywhere(key.code);
    down.set(key.code, !isRelease);

    KeyEvent event;
    event.keyCode = m_layout.keyCode(key.code);
    event.modifierFlags = modifierFlags();
    event.time = key.time;
    if (isModifierKey(event.keyCode)) {
        // One that is held on another keyboard as well has not changed.
        if (wasDown != isDownAnywhere(key.code)) {
            m_flagsChanged(event);
        }
    } else if (!isRelease) {
        event.repeat = key.action == EvdevAction::Repeat ? KeyRepeat::AutoRepeat : KeyRepeat::FirstPress;
        event.charactersIgnoringModifiers = m_layout.typedText(key.code);
        m_keyDown(event);
    }
}

void EvdevKeys::catchUp(Device device, const EvdevKeySet& down, std::uint32_t time)
{
    const EvdevKeySet changed = m_down[device] ^ down;
    for (std::size_t i = 0; i < changed.size(); ++i) {
        if (changed.test(i)) {
            change(device,
                   {static_cast<std::uint16_t>(i), down.test(i) ? EvdevAction::Press : EvdevAction::Release, time});
        }
    }
}

void EvdevKeys::begin(Device device, const EvdevKeySet& down)
{
    EvdevKeySet& known = m_down[device];
    for (std::size_t i = 0; i < down.size(); ++i) {
        const auto code = static_cast<std::uint16_t>(i);
        known.set(i, down.test(i) && !isButton(code));
    }
}

void EvdevKeys::end(Device device)
{
    catchUp(device, {}, 0);
    m_down.erase(device);
}

bool EvdevKeys::isDownAnywhere(std::uint16_t code) const
{
    return std::any_of(m_down.begin(), m_down.end(), [code](const auto& entry) { return entry.second.test(code); });
}

ModifierFlags EvdevKeys::modifierFlags() const
{
    EvdevKeySet all;
    for (const auto& [device, down] : m_down) {
        all |= down;
    }
    ModifierFlags flags = ModifierFlags::None;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all.test(i)) {
            flags |= modifierFlag(m_layout.keyCode(static_cast<std::uint16_t>(i)));
        }
    }
    return flags;
}

}  // namespace tavlo

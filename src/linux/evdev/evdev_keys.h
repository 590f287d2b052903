#pragma once

#include "linux/evdev/evdev_layout.h"
#include "linux/evdev/evdev_stream.h"
#include "platform/keyboard_monitor.h"

#include <linux/input-event-codes.h>

#include <bitset>
#include <functional>
#include <map>
#include <optional>

namespace tavlo {

// Keys by the kernel's codes.
using EvdevKeySet = std::bitset<KEY_CNT>;

// The keys that are worth reading when these are wanted: the modifiers and Escape always, and the hotkey, or all.
EvdevKeySet keysToRead(const KeyInterest& interest, const EvdevLayout& layout);

// The keys that are down on all keyboards together, and what each change means to those who follow them.
class EvdevKeys {
public:
    using Device = int;  // any number that tells one keyboard from the others
    using Handler = std::function<void(const KeyEvent&)>;

    // Both are called within the functions below. `layout` outlives this object.
    EvdevKeys(const EvdevLayout& layout, Handler keyDown, Handler flagsChanged);

    // A key of this keyboard has changed. Buttons are left out, and so are releases of keys that were not down.
    void change(Device device, const EvdevKey& key);
    // These keys are down now, and all others are not: events were lost. Each difference counts as a change now.
    void catchUp(Device device, const EvdevKeySet& down, std::uint32_t time);
    // The same without telling anybody of a key that is down: it was pressed before anybody listened.
    void begin(Device device, const EvdevKeySet& down);
    // The keyboard is gone: its keys are let go.
    void end(Device device);

private:
    bool isDownAnywhere(std::uint16_t code) const;
    ModifierFlags modifierFlags() const;

    const EvdevLayout& m_layout;
    Handler m_keyDown;
    Handler m_flagsChanged;
    std::map<Device, EvdevKeySet> m_down;
};

}  // namespace tavlo

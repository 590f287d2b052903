#pragma once

#include "linux/x11/x11_display.h"

#include <bitset>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>

namespace tavlo {

enum class KeyAction { Press, Repeat, Release };
enum class KeySource { Keyboard, OtherProgram, OurProgram };

// A key event as the server saw it, before any window or grab gets it. Releases of keys that were not down are left
// out.
struct RawKey {
    xcb_keycode_t key = 0;
    KeyAction action = KeyAction::Press;
    KeySource source = KeySource::Keyboard;
    std::uint32_t time = 0;  // the server's clock, in milliseconds
};

// The raw key events of XInput 2, and the keys that the user holds down.
//
// The keys that this program sends are told apart with certainty: they are sent over the connection on which the events
// come, with the server grabbed, so that no other program's request comes in between. An event carries the number of
// the last request that the server had handled; those of the test device with a number inside such a span are ours,
// whatever the user's keyboards do meanwhile.
//
// Main thread.
class X11RawKeys {
public:
    using Keys = std::bitset<256>;

    explicit X11RawKeys(X11Display& display);

    // Whether the server reports raw keys, also while a program has grabbed the keyboard (XInput 2.1).
    bool isAvailable() const;
    Registration onKey(std::function<void(const RawKey&)> handler);
    // The keys that the user, or another program, holds down, as of the event that is being handled.
    const Keys& down() const { return m_down; }

    // Runs `send` with the server grabbed. The keys that it sends come back as OurProgram's. It must not wait for
    // anything but replies on this display's connection.
    void sendOwnKeys(const std::function<void()>& send);

private:
    struct Span {
        std::uint32_t first = 0;
        std::uint32_t last = 0;
    };

    void handle(const xcb_generic_event_t& event);
    void handleKey(const xcb_generic_event_t& event);
    void findTestDevices();
    bool isOwn(std::uint32_t request);
    void requestState();
    void applyState(std::optional<std::uint32_t> upToRequest);

    X11Display& m_display;
    std::uint8_t m_opcode = 0;  // of XInput; 0 where it is not there
    std::uint8_t m_keyboardEvents = 0;
    std::set<std::uint16_t> m_testDevices;
    std::deque<Span> m_ownSpans;
    std::optional<xcb_query_keymap_cookie_t> m_stateRequest;
    Keys m_down;
    HandlerList<const RawKey&> m_handlers;
    Registration m_events;
};

}  // namespace tavlo

#pragma once

#include "linux/x11/x11_display.h"
#include "linux/x11/x11_keymap.h"
#include "platform/keyboard_monitor.h"

#include <bitset>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <utility>

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

// The keys of the whole desktop by their places on the board, from the raw key events of XInput 2.
//
// The keys that this program sends are told apart with certainty: they are sent over the connection on which the events
// come, with the server grabbed, so that no other program's request comes in between. An event carries the number of
// the last request that the server had handled; those of the test device with a number inside such a span are ours,
// whatever the user's keyboards do meanwhile.
//
// Main thread.
class X11KeyboardMonitor : public KeyboardMonitor, private X11EventReader {
public:
    // Both outlive the monitor and belong together.
    X11KeyboardMonitor(X11Display& display, X11Keymap& keymap);

    Registration onKeyDown(Handler handler) override { return m_keyDown.add(std::move(handler)); }
    Registration onFlagsChanged(Handler handler) override { return m_flagsChanged.add(std::move(handler)); }
    Words unavailableReason() const override;
    void catchUp() override { m_display.catchUp(); }

    // Whether the server reports raw keys, also while a program has grabbed the keyboard (XInput 2.1).
    bool seesKeys() const;
    // `handler` gets every key event, those of our own keys too, after the handlers above have had it.
    Registration onRawKey(std::function<void(const RawKey&)> handler) { return m_rawKey.add(std::move(handler)); }

    // While it lives, the server is grabbed and the keys that are sent come back as OurProgram's. Nothing may be waited
    // for but replies on this display's connection. The requests have been sent to the server when it is gone.
    class [[nodiscard]] OwnKeys {
    public:
        explicit OwnKeys(X11KeyboardMonitor& monitor);
        ~OwnKeys();
        OwnKeys(const OwnKeys&) = delete;
        OwnKeys& operator=(const OwnKeys&) = delete;

    private:
        X11KeyboardMonitor& m_monitor;
        std::uint32_t m_first;  // the number of the request that grabbed the server
    };

private:
    // The numbers of the first and the last request of one time that the server was grabbed.
    struct Span {
        std::uint32_t first = 0;
        std::uint32_t last = 0;
    };

    void read(const xcb_generic_event_t& event) override;
    void readKey(const xcb_generic_event_t& event);
    void report(const RawKey& key);
    ModifierFlags modifierFlags();
    void findTestDevices();
    bool isOwn(std::uint32_t request);
    void requestState();
    void applyState(std::optional<std::uint32_t> upToRequest);

    X11Display& m_display;
    X11Keymap& m_keymap;
    std::uint8_t m_opcode = 0;  // of XInput; 0 where it is not there
    std::uint8_t m_keyboardEvents = 0;
    std::set<std::uint16_t> m_testDevices;
    std::deque<Span> m_ownSpans;
    std::optional<xcb_query_keymap_cookie_t> m_stateRequest;
    std::bitset<256> m_down;  // held by the user or another program, as of the event that is being handled
    HandlerList<const KeyEvent&> m_keyDown;
    HandlerList<const KeyEvent&> m_flagsChanged;
    HandlerList<const RawKey&> m_rawKey;
    Registration m_events;
};

}  // namespace tavlo

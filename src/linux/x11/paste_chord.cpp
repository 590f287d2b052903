#include "linux/x11/paste_chord.h"

#include "linux/x11/xcb.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tavlo {

namespace {

// In a terminal Control+V belongs to the program inside. Lower case.
constexpr std::array<std::string_view, 46> kTerminals{
    "gnome-terminal",
    "gnome-terminal-server",
    "org.gnome.terminal",
    "kgx",
    "org.gnome.console",
    "org.gnome.ptyxis",
    "ptyxis",
    "konsole",
    "yakuake",
    "xfce4-terminal",
    "mate-terminal",
    "lxterminal",
    "qterminal",
    "deepin-terminal",
    "io.elementary.terminal",
    "pantheon-terminal",
    "tilix",
    "com.gexperts.tilix",
    "tilda",
    "guake",
    "terminator",
    "terminology",
    "kitty",
    "alacritty",
    "foot",
    "footclient",
    "wezterm",
    "org.wezfurlong.wezterm",
    "contour",
    "rio",
    "ghostty",
    "com.mitchellh.ghostty",
    "hyper",
    "tabby",
    "cool-retro-term",
    "sakura",
    "roxterm",
    "termite",
    "lilyterm",
    "st",
    "st-256color",
    "stterm",
    "blackbox",
    "com.raggesilver.blackbox",
    "dev.warp.warp",
    "terminus",
};

// These know Shift+Insert alone: the old terminals, which paste the primary selection, and Emacs, where Control+V
// turns the page.
constexpr std::array<std::string_view, 14> kShiftInsertPrograms{
    "xterm", "uxterm", "koi8rxterm", "lxterm",       "rxvt",  "urxvt",  "urxvtc",
    "aterm", "eterm",  "mrxvt",      "rxvt-unicode", "kterm", "mlterm", "emacs",
};

template <std::size_t size>
bool contains(const std::array<std::string_view, size>& names, const QByteArray& name)
{
    return std::find(names.begin(), names.end(),
                     std::string_view(name.constData(), static_cast<std::size_t>(name.size()))) != names.end();
}

}  // namespace

PasteChord pasteChordFor(const QByteArrayList& windowClass)
{
    PasteChord chord = PasteChord::ControlV;
    for (const QByteArray& name : windowClass) {
        const QByteArray lowerCase = name.toLower();
        if (contains(kShiftInsertPrograms, lowerCase)) {
            return PasteChord::ShiftInsert;
        }
        if (contains(kTerminals, lowerCase)) {
            chord = PasteChord::ControlShiftV;
        }
    }
    return chord;
}

namespace {

constexpr int kMaximumDepth = 32;
constexpr xcb_window_t kNoWindow = XCB_WINDOW_NONE;  // libxcb's constants are of enumerated types

xcb_window_t windowUnderPointer(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    xcb_window_t window = display.root();
    for (int depth = 0; depth < kMaximumDepth; ++depth) {
        const auto pointer =
            ownReply(xcb_query_pointer_reply(connection, xcb_query_pointer(connection, window), nullptr));
        if (!pointer || pointer->child == kNoWindow) {
            break;
        }
        window = pointer->child;
    }
    return window == display.root() ? kNoWindow : window;
}

}  // namespace

xcb_window_t focusedWindow(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    const auto focus = ownReply(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_window_t window = focus ? focus->focus : kNoWindow;
    if (window == xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT} || window == display.root()) {
        window = windowUnderPointer(display);
    }
    return window != kNoWindow ? window : display.activeWindow();
}

QByteArrayList windowClass(X11Display& display, xcb_window_t window)
{
    xcb_connection_t* const connection = display.connection();
    for (int depth = 0; depth < kMaximumDepth && window != kNoWindow && window != display.root(); ++depth) {
        QByteArrayList names = display.property(window, XCB_ATOM_WM_CLASS, 8).split('\0');
        names.removeAll(QByteArray());
        if (!names.isEmpty()) {
            return names;
        }
        const auto tree = ownReply(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        window = tree ? tree->parent : kNoWindow;
    }
    return {};
}

}  // namespace tavlo

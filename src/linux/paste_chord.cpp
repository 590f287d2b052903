#include "linux/paste_chord.h"

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

}  // namespace tavlo

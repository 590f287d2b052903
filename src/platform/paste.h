#pragma once

#include <QString>

namespace tavlo {

class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Replaces the clipboard's content by `text` as plain text, which stays available while the program runs.
    // Main thread.
    virtual void setText(const QString& text) = 0;

    // Offers the text set last as the primary selection too, which old terminals paste instead of the clipboard. It
    // replaces whatever the user has selected, so it is done only when a paste needs it. Other programs can paste the
    // text when this returns; where the desktop has no such selection it does nothing. Main thread.
    virtual void offerPrimarySelection() = 0;
};

// Types the paste chord into the application that has the keyboard.
class PasteKeystroke {
public:
    virtual ~PasteKeystroke() = default;

    // Whether this process may type into other applications. Asked on every paste. Main thread.
    virtual bool isTrusted() = 0;
    // Sends the chord that the focused window understands as paste; modifiers the user holds take no part in it.
    // Returns at once; a failure is silent. Main thread.
    virtual void sendPaste() = 0;
};

}  // namespace tavlo

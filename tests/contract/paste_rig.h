#pragma once

#include "platform/paste.h"

#include <QString>

#include <memory>

namespace tavlo {

// A pasteboard and a keystroke, and what other programs on the same desktop see of them.
class PasteRig {
public:
    virtual ~PasteRig() = default;
    virtual Pasteboard& pasteboard() = 0;
    virtual PasteKeystroke& keystroke() = 0;

    // What another program gets from the clipboard and from the primary selection.
    virtual QString clipboard() = 0;
    virtual QString primarySelection() = 0;
    // Another program copies this, or selects it.
    virtual void copyElsewhere(const QString& text) = 0;
    virtual void selectElsewhere(const QString& text) = 0;
    // Opens an editor and waits until it has the keyboard.
    virtual void openEditor() = 0;
    virtual QString editorText() = 0;
};

// On the desktop that this test program runs on; null where it does not come up.
std::unique_ptr<PasteRig> makeRealPasteRig();

}  // namespace tavlo

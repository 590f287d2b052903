#pragma once

#include "platform/paste.h"

#include <functional>

namespace tavlo {

// Counts the chords instead of typing them.
class FakePasteKeystroke : public PasteKeystroke {
public:
    bool isTrusted() override
    {
        ++trustQuestionCount;
        return trusted;
    }

    void sendPaste() override
    {
        ++pasteCount;
        if (onPaste) {
            onPaste();
        }
    }

    bool trusted = true;
    int trustQuestionCount = 0;
    int pasteCount = 0;
    // For a test that looks at the pasteboard at that moment, or at the order of things.
    std::function<void()> onPaste;
};

}  // namespace tavlo

#pragma once

namespace tavlo {

// The selection that old terminals paste instead of the clipboard.
class PrimarySelection {
public:
    virtual ~PrimarySelection() = default;

    // Offers the text last put on the pasteboard as the primary selection too, replacing whatever is selected. Done
    // only when a chord needs it, for it takes the user's selection away. The server knows of it when this returns.
    // Main thread.
    virtual void offerPasteboardText() = 0;
};

}  // namespace tavlo

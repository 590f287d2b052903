#pragma once

#include "linux/x11/primary_selection.h"
#include "platform/paste.h"

namespace tavlo {

// The toolkit's clipboard, which serves the text from the event loop for as long as the application object lives.
class QtPasteboard : public Pasteboard, public PrimarySelection {
public:
    void setText(const QString& text) override;
    void offerPasteboardText() override;

private:
    QString m_text;  // as last put on the pasteboard
};

}  // namespace tavlo

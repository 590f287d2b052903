#pragma once

#include "platform/paste.h"

namespace tavlo {

// The toolkit's clipboard, which serves the text from the event loop for as long as the application object lives.
class QtPasteboard : public Pasteboard {
public:
    void setText(const QString& text) override;
    void offerPrimarySelection() override;

private:
    QString m_text;  // as last put on the pasteboard
};

}  // namespace tavlo

#pragma once

#include <QString>

namespace tavlo {

class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Replaces the clipboard's content by `text` as plain text, which stays available while the program runs.
    // Main thread.
    virtual void setText(const QString& text) = 0;
};

}  // namespace tavlo

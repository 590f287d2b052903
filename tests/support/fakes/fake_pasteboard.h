#pragma once

#include "platform/paste.h"

#include <QStringList>

namespace tavlo {

// Keeps what was put on the pasteboard, oldest first.
class FakePasteboard : public Pasteboard {
public:
    void setText(const QString& text) override { texts.append(text); }

    // What a paste would give now; null when nothing was ever put there.
    QString text() const { return texts.isEmpty() ? QString() : texts.last(); }

    QStringList texts;
};

}  // namespace tavlo

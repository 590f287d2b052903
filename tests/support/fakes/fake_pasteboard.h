#pragma once

#include "platform/paste.h"

#include <QStringList>

#include <functional>

namespace tavlo {

// Keeps what was put on the pasteboard, oldest first.
class FakePasteboard : public Pasteboard {
public:
    void setText(const QString& text) override
    {
        texts.append(text);
        if (onSet) {
            onSet(text);
        }
    }

    void offerPrimarySelection() override
    {
        ++primaryOffers;
        selection = text();
    }

    // What a paste would give now; null when nothing was ever put there.
    QString text() const { return texts.isEmpty() ? QString() : texts.last(); }

    QStringList texts;
    int primaryOffers = 0;
    QString selection;                          // what a paste of the primary selection would give now
    std::function<void(const QString&)> onSet;  // for a test that looks at the order of things
};

}  // namespace tavlo

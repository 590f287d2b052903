#pragma once

#include "platform/workspace.h"

#include <QList>

namespace tavlo {

// Keeps the addresses that would have been opened. Like the real one it does nothing with an invalid address.
class FakeWorkspace : public Workspace {
public:
    void open(const QUrl& url) override
    {
        if (url.isValid() && !url.isEmpty()) {
            opened.append(url);
        }
    }

    QList<QUrl> opened;
};

}  // namespace tavlo

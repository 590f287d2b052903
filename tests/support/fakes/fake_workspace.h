#pragma once

#include "platform/workspace.h"

#include <QList>

#include <functional>

namespace tavlo {

// Keeps the addresses that would have been opened. Like the real one it does nothing with an invalid address.
class FakeWorkspace : public Workspace {
public:
    void open(const QUrl& url) override
    {
        if (url.isValid() && !url.isEmpty()) {
            opened.append(url);
            if (onOpen) {
                onOpen(url);
            }
        }
    }

    QList<QUrl> opened;
    std::function<void(const QUrl&)> onOpen;  // for a test that looks at the order of things
};

}  // namespace tavlo

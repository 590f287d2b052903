#pragma once

#include <QUrl>

namespace tavlo {

class Workspace {
public:
    virtual ~Workspace() = default;

    // Opens an address or a file with the desktop's program for it. Returns at once; a failure is silent. An invalid
    // address does nothing. Main thread.
    virtual void open(const QUrl& url) = 0;
};

}  // namespace tavlo

#pragma once

#include "platform/workspace.h"

namespace tavlo {

// Opens through the desktop's opener, `xdg-open`, or, where that is not installed, as the toolkit does.
class QtWorkspace : public Workspace {
public:
    void open(const QUrl& url) override;
};

}  // namespace tavlo

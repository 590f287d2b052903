#pragma once

#include "platform/desktop_notification.h"

#include <vector>

namespace tavlo {

// Keeps the notices that the desktop would show.
class FakeDesktopNotification : public DesktopNotification {
public:
    struct Notice {
        QString title;
        QString text;

        bool operator==(const Notice&) const = default;
    };

    void show(const QString& title, const QString& text) override { shown.push_back({title, text}); }

    std::vector<Notice> shown;
};

}  // namespace tavlo

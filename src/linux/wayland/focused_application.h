#pragma once

#include "linux/wayland/wayland_connection.h"

#include <QByteArray>

#include <memory>
#include <optional>
#include <vector>

namespace tavlo {

// Which application has the active window, by the protocol wlr-foreign-toplevel-management-unstable-v1. The compositor
// is asked each time anew, so that no event comes while nobody asks. Main thread.
class FocusedApplication {
public:
    // `connection` outlives it.
    explicit FocusedApplication(WaylandConnection& connection);
    ~FocusedApplication();
    FocusedApplication(const FocusedApplication&) = delete;
    FocusedApplication& operator=(const FocusedApplication&) = delete;

    // The application's name: its app id, or the class of an X11 window. Empty where no window is active; none where
    // the compositor does not tell within 100 ms.
    std::optional<QByteArray> name();

private:
    class Query;

    WaylandConnection& m_connection;
    std::vector<std::unique_ptr<Query>> m_queries;  // the last ones may wait for the compositor to end them
};

}  // namespace tavlo

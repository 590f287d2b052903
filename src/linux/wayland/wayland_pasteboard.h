#pragma once

#include "linux/wayland/wayland_connection.h"
#include "platform/paste.h"

#include <QObject>
#include <QString>

#include <memory>

namespace tavlo {

// The clipboard of a compositor that lets a program without the focus set it, by the protocol ext-data-control-v1 or
// its forerunner wlr-data-control-unstable-v1. The text is served from the event loop until another program takes the
// clipboard over. Main thread.
class WaylandPasteboard : public Pasteboard {
public:
    // `connection` outlives it.
    explicit WaylandPasteboard(WaylandConnection& connection);
    ~WaylandPasteboard() override;
    WaylandPasteboard(const WaylandPasteboard&) = delete;
    WaylandPasteboard& operator=(const WaylandPasteboard&) = delete;

    // Whether the compositor has one of the protocols.
    static bool isOfferedBy(const WaylandConnection& connection);

    void setText(const QString& text) override;
    void offerPrimarySelection() override;

private:
    class Control;
    template <class Protocol>
    class ControlBy;

    WaylandConnection& m_connection;
    std::unique_ptr<Control> m_control;
    QString m_text;  // as last put on the clipboard
};

}  // namespace tavlo

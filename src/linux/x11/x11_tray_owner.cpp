#include "linux/x11/x11_tray_owner.h"

#include "linux/x11/xcb.h"

#include <QGuiApplication>

#include <utility>

namespace tavlo {

X11TrayOwner::X11TrayOwner(std::function<void()> changed) : m_changed(std::move(changed))
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return;
    }
    m_connection = x11->connection();
    // The toolkit knows one screen of the server, the first one in every session of today.
    m_selection = internAtom(m_connection, "_NET_SYSTEM_TRAY_S0");
    m_manager = internAtom(m_connection, "MANAGER");
    lookUp();
    qGuiApp->installNativeEventFilter(this);
}

X11TrayOwner::~X11TrayOwner() = default;

bool X11TrayOwner::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    // A new tray announces itself to the root window, of which the toolkit reads the events; an old one is destroyed.
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    bool concerned = false;
    switch (event->response_type & 0x7f) {
        case XCB_CLIENT_MESSAGE: {
            const auto* note = static_cast<const xcb_client_message_event_t*>(message);
            concerned = note->type == m_manager && note->data.data32[1] == m_selection;
            break;
        }
        case XCB_DESTROY_NOTIFY:
            concerned = m_owner != XCB_WINDOW_NONE &&
                        static_cast<const xcb_destroy_notify_event_t*>(message)->window == m_owner;
            break;
        default:
            break;
    }
    if (concerned) {
        lookUp();
        m_changed();
    }
    return false;
}

void X11TrayOwner::lookUp()
{
    m_owner = selectionOwner(m_connection, m_selection);
    if (m_owner != XCB_WINDOW_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_owner, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
}

}  // namespace tavlo

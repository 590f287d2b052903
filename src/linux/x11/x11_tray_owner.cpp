#include "linux/x11/x11_tray_owner.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace tavlo {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeReply> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

}  // namespace

X11TrayOwner::X11TrayOwner(std::function<void()> changed) : m_changed(std::move(changed))
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return;
    }
    m_connection = x11->connection();
    // The toolkit knows one screen of the server, the first one in every session of today.
    m_selection = atom(m_connection, QByteArrayLiteral("_NET_SYSTEM_TRAY_S0"));
    m_manager = atom(m_connection, QByteArrayLiteral("MANAGER"));
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
            concerned = m_owner != 0 && static_cast<const xcb_destroy_notify_event_t*>(message)->window == m_owner;
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
    const std::unique_ptr<xcb_get_selection_owner_reply_t, FreeReply> reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    m_owner = reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (m_owner != 0) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_owner, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
}

}  // namespace tavlo

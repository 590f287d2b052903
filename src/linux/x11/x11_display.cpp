#include "linux/x11/x11_display.h"

#include "linux/x11/xcb.h"

#include <QSocketNotifier>

#include <cstring>

namespace tavlo {

X11Display::X11Display(const QByteArray& name)
    : m_connection(xcb_connect(name.isEmpty() ? nullptr : name.constData(), &m_screenNumber))
{
    if (!hasConnection()) {
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < m_screenNumber && screens.rem > 1; ++i) {
        xcb_screen_next(&screens);
    }
    m_root = screens.data->root;
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &m_context, [this] { handleEvents(); });
}

X11Display::~X11Display()
{
    m_notifier.reset();
    xcb_disconnect(m_connection);
}

bool X11Display::hasConnection() const
{
    return xcb_connection_has_error(m_connection) == 0;
}

bool X11Display::hasExtension(const char* name) const
{
    const auto reply = ownReply(xcb_query_extension_reply(
        m_connection, xcb_query_extension(m_connection, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply && reply->present != 0;
}

xcb_atom_t X11Display::atom(const std::string& name)
{
    const auto known = m_atoms.find(name);
    if (known != m_atoms.end()) {
        return known->second;
    }
    const xcb_atom_t atom = internAtom(m_connection, name);
    if (atom != XCB_ATOM_NONE) {
        m_atoms.emplace(name, atom);
    }
    return atom;
}

QByteArray X11Display::property(xcb_window_t window, xcb_atom_t name, int format)
{
    constexpr std::uint32_t kMaximumWords = 16384;
    const auto reply = ownReply(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, kMaximumWords),
        nullptr));
    if (!reply || reply->format != format) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get())};
}

std::vector<std::uint32_t> X11Display::numbers(xcb_window_t window, xcb_atom_t name)
{
    const QByteArray bytes = property(window, name, 32);
    std::vector<std::uint32_t> values(static_cast<std::size_t>(bytes.size()) / sizeof(std::uint32_t));
    // An empty vector may have no data pointer, which memcpy must not be given even for no bytes.
    if (!values.empty()) {
        std::memcpy(values.data(), bytes.constData(), values.size() * sizeof(std::uint32_t));
    }
    return values;
}

xcb_window_t X11Display::activeWindow()
{
    const auto windows = numbers(m_root, atom("_NET_ACTIVE_WINDOW"));
    return windows.empty() ? xcb_window_t{XCB_WINDOW_NONE} : windows.front();
}

Registration X11Display::addReader(X11EventReader& reader)
{
    m_readers.push_back(&reader);
    return Registration([this, &reader] { std::erase(m_readers, &reader); });
}

void X11Display::flush()
{
    xcb_flush(m_connection);
    if (!m_handlingQueued && hasConnection()) {
        m_handlingQueued = true;
        QMetaObject::invokeMethod(
            &m_context,
            [this] {
                m_handlingQueued = false;
                handleEvents();
            },
            Qt::QueuedConnection);
    }
}

void X11Display::catchUp()
{
    // Any reply comes after the events that were sent before it.
    ownReply(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    handleEvents();
}

void X11Display::handleEvents()
{
    while (const auto event = ownReply(xcb_poll_for_event(m_connection))) {
        for (X11EventReader* const reader : m_readers) {
            reader->read(*event);
        }
    }
    if (!hasConnection() && m_notifier) {
        // A closed socket is readable for ever.
        m_notifier->setEnabled(false);
    }
    xcb_flush(m_connection);
}

}  // namespace tavlo

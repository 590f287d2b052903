#include "linux/x11/focused_window.h"

#include "linux/x11/xcb.h"

namespace tavlo {

namespace {

constexpr int kMaximumDepth = 32;
constexpr xcb_window_t kNoWindow = XCB_WINDOW_NONE;  // libxcb's constants are of enumerated types

xcb_window_t windowUnderPointer(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    xcb_window_t window = display.root();
    for (int depth = 0; depth < kMaximumDepth; ++depth) {
        const auto pointer =
            ownReply(xcb_query_pointer_reply(connection, xcb_query_pointer(connection, window), nullptr));
        if (!pointer || pointer->child == kNoWindow) {
            break;
        }
        window = pointer->child;
    }
    return window == display.root() ? kNoWindow : window;
}

}  // namespace

xcb_window_t focusedWindow(X11Display& display)
{
    xcb_connection_t* const connection = display.connection();
    const auto focus = ownReply(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_window_t window = focus ? focus->focus : kNoWindow;
    if (window == xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT} || window == display.root()) {
        window = windowUnderPointer(display);
    }
    return window != kNoWindow ? window : display.activeWindow();
}

QByteArrayList windowClass(X11Display& display, xcb_window_t window)
{
    xcb_connection_t* const connection = display.connection();
    for (int depth = 0; depth < kMaximumDepth && window != kNoWindow && window != display.root(); ++depth) {
        QByteArrayList names = display.property(window, XCB_ATOM_WM_CLASS, 8).split('\0');
        names.removeAll(QByteArray());
        if (!names.isEmpty()) {
            return names;
        }
        const auto tree = ownReply(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        window = tree ? tree->parent : kNoWindow;
    }
    return {};
}

}  // namespace tavlo

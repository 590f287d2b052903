#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

// libxcb's keyboard header names a field `explicit`, which C++ does not allow. Clang's pedantic warnings name every
// macro that hides a keyword; this one does so while the C header is read and no longer.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#pragma GCC diagnostic pop

namespace tavlo {

// What libxcb hands out (replies, events, errors) is freed by its receiver.
struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <class T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

template <class T>
XcbReply<T> ownReply(T* reply)
{
    return XcbReply<T>(reply);
}

// Asks the server for the atom of that name, which is one round trip. XCB_ATOM_NONE without a server.
inline xcb_atom_t internAtom(xcb_connection_t* connection, std::string_view name)
{
    const auto reply = ownReply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

// The window that owns a selection; XCB_WINDOW_NONE when there is none. One round trip.
inline xcb_window_t selectionOwner(xcb_connection_t* connection, xcb_atom_t selection)
{
    const auto reply =
        ownReply(xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

}  // namespace tavlo

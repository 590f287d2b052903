#pragma once

#include <cstdlib>
#include <memory>

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

}  // namespace tavlo

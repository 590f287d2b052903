#pragma once

#include <cstdlib>
#include <memory>

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

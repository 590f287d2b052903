#pragma once

#include <ostream>

namespace tavlo {

// What a contract suite runs on: the port's fake, as the unit tests use it, or the backend that the program uses.
enum class Backend { Fake, Real };

inline void PrintTo(Backend backend, std::ostream* out)
{
    *out << (backend == Backend::Fake ? "Fake" : "Real");
}

}  // namespace tavlo

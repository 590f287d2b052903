#pragma once

// libxcb's keyboard header names a field `explicit`, which C++ does not allow. Clang's pedantic warnings name every
// macro that hides a keyword; this one does so while the C header is read and no longer.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#pragma GCC diagnostic pop

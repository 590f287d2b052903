#pragma once

// libxcb's keyboard header names a field `explicit`, which C++ does not allow.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

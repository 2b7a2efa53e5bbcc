#pragma once

// The C header of the keyboard extension names a member "explicit", which C++ has to be talked
// into; compilers rightly warn of that, and do not where a header counts as the system's.
#pragma GCC system_header

#define explicit explicitMember
#include <xcb/xkb.h>
#undef explicit

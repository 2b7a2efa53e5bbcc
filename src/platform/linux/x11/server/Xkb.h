#pragma once

// The C header of the keyboard extension names a member "explicit", which C++ has to be talked
// into; compilers rightly warn of that, and do not where a header counts as the system's.
#pragma GCC system_header

#define explicit explicitMember
#include <xcb/xkb.h>
#undef explicit

namespace vesk::x11::server {

/// The one keyboard that programs see all others as.
inline constexpr auto coreKeyboard = static_cast<xcb_xkb_device_spec_t>(XCB_XKB_ID_USE_CORE_KBD);

}  // namespace vesk::x11::server

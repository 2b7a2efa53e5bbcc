#pragma once

#include <xcb/xcb.h>

#include <optional>

namespace vesk::x11::beneath {

/// The window of which an event of the root window's children tells that it has come up, or may
/// stand elsewhere among the others than before. Thread: any. Fails: never.
std::optional<xcb_window_t> restackedWindow(const xcb_generic_event_t& event);

}  // namespace vesk::x11::beneath

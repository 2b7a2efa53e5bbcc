#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <initializer_list>
#include <string_view>

/// Atoms and properties of windows. Thread: the connection's.
namespace vesk::x11 {

/// The atom of that name; XCB_NONE when the server is gone. Waits for the server.
xcb_atom_t atom(xcb_connection_t* connection, std::string_view name);

/// Sets a property that is a list of atoms.
void setAtoms(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
              std::initializer_list<std::string_view> values);

/// Sets a property that is one number.
void setCardinal(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
                 std::uint32_t value);

}  // namespace vesk::x11

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// Atoms and properties of windows. Thread: the connection's.
namespace vesk::x11::server {

/// The atom of that name; XCB_NONE when the server is gone. Waits for the server.
xcb_atom_t atom(xcb_connection_t* connection, std::string_view name);

/// Sets a property that is a list of atoms.
void setAtoms(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
              std::initializer_list<std::string_view> values);

/// Sets a property that is one number.
void setCardinal(xcb_connection_t* connection, xcb_window_t window, std::string_view property,
                 std::uint32_t value);

/// The numbers, atoms or windows of which a property is a list, a thousand of them at most; none
/// where it has none. Waits for the server.
std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window,
                                   std::string_view property);

/// The same by its atom, of that type only.
std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window,
                                   xcb_atom_t property, xcb_atom_t type);

/// A property that is text, in the encoding that it has; empty where there is none. Waits for the
/// server.
std::string text(xcb_connection_t* connection, xcb_window_t window, std::string_view property);

}  // namespace vesk::x11::server

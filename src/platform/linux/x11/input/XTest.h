#pragma once

#include <cstdint>

#include "platform/Geometry.h"
#include "platform/linux/x11/server/Connection.h"

// What the X server is made to believe that the person's keyboard and mouse did. Nothing here waits
// for the server, and nothing is sent before the connection is flushed.
namespace vesk::x11::input {

enum class Stroked { down, up };

void fakeKey(const server::Connection& connection, xcb_keycode_t keycode, Stroked stroked);
void fakeButton(const server::Connection& connection, std::uint8_t button, Stroked stroked);

/// Moves the pointer to the pixel of the root window that holds the point.
void fakeMotion(const server::Connection& connection, Point point);

}  // namespace vesk::x11::input

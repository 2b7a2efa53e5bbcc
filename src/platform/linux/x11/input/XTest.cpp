#include "platform/linux/x11/input/XTest.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <cmath>

namespace vesk::x11::input {
namespace {

/// A point that lies on a pixel's edge but for the last bits of its fraction belongs to that pixel.
std::int16_t pixelOf(double coordinate) {
  constexpr double tolerance = 1.0 / 1024;
  constexpr double least = INT16_MIN;
  constexpr double most = INT16_MAX;
  return static_cast<std::int16_t>(std::clamp(std::floor(coordinate + tolerance), least, most));
}

/// A request of an extension that the server lacks would end the connection.
void fakeInput(const server::Connection& connection, std::uint8_t type, std::uint8_t detail,
               xcb_window_t root = XCB_NONE, std::int16_t x = 0, std::int16_t y = 0) {
  const auto* const xtest = xcb_get_extension_data(connection.get(), &xcb_test_id);
  if (xtest == nullptr || xtest->present == 0) return;
  xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, root, x, y, 0);
}

}  // namespace

void fakeKey(const server::Connection& connection, xcb_keycode_t keycode, Stroked stroked) {
  const auto type = stroked == Stroked::down ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
  fakeInput(connection, static_cast<std::uint8_t>(type), keycode);
}

void fakeButton(const server::Connection& connection, std::uint8_t button, Stroked stroked) {
  const auto type = stroked == Stroked::down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE;
  fakeInput(connection, static_cast<std::uint8_t>(type), button);
}

void fakeMotion(const server::Connection& connection, Point point) {
  constexpr std::uint8_t absolute = 0;
  fakeInput(connection, XCB_MOTION_NOTIFY, absolute, connection.root(), pixelOf(point.x),
            pixelOf(point.y));
}

}  // namespace vesk::x11::input

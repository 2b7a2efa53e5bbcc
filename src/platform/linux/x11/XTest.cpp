#include "platform/linux/x11/XTest.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <cmath>

namespace vesk::x11 {
namespace {

/// A point that lies on a pixel's edge but for the last bits of its fraction belongs to that pixel.
std::int16_t pixelOf(double coordinate) {
  constexpr double tolerance = 1.0 / 1024;
  constexpr double least = INT16_MIN;
  constexpr double most = INT16_MAX;
  return static_cast<std::int16_t>(std::clamp(std::floor(coordinate + tolerance), least, most));
}

}  // namespace

void fakeKey(const Connection& connection, xcb_keycode_t keycode, Stroked stroked) {
  const auto type = stroked == Stroked::down ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
  xcb_test_fake_input(connection.get(), static_cast<std::uint8_t>(type), keycode, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, 0);
}

void fakeButton(const Connection& connection, std::uint8_t button, Stroked stroked) {
  const auto type = stroked == Stroked::down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE;
  xcb_test_fake_input(connection.get(), static_cast<std::uint8_t>(type), button, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, 0);
}

void fakeMotion(const Connection& connection, Point point) {
  constexpr std::uint8_t absolute = 0;
  xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, absolute, XCB_CURRENT_TIME,
                      connection.root(), pixelOf(point.x), pixelOf(point.y), 0);
}

}  // namespace vesk::x11

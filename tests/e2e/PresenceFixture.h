#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "e2e/AlertObserver.h"
#include "e2e/PresenceDesktop.h"
#include "e2e/PresenceWindow.h"
#include "support/Patience.h"

namespace vesk::testing {

using Kind = PresenceDesktop::Kind;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::uint32_t returnKey = 0xff0d;
constexpr std::uint32_t tabKey = 0xff09;
constexpr std::uint32_t escapeKey = 0xff1b;
constexpr std::uint32_t spaceKey = 0x20;
constexpr std::uint32_t shiftKey = 0xffe1;
constexpr std::uint32_t altKey = 0xffe9;
constexpr std::uint32_t backdrop = 0x4a6a8a;
constexpr std::uint32_t red = 0xcc0d0d;
constexpr std::uint32_t redOverBackdrop = 0xb22026;  // four fifths of it

inline std::string nameOfDesktop(const ::testing::TestParamInfo<Kind>& info) {
  return nameOf(info.param);
}

/// A desktop's scale, as Qt is told of it and as a number.
using Scale = std::pair<const char*, double>;
inline const auto everyScale =
    ::testing::Values(Scale{"1", 1.0}, Scale{"1.5", 1.5}, Scale{"2", 2.0});

inline std::vector<std::string> environmentAt(const Scale& scale, const PresenceDesktop& desktop) {
  auto environment = desktop.environment();
  environment.push_back("QT_SCALE_FACTOR=" + std::string(scale.first));
  return environment;
}

struct Place {
  int x, y, width, height;
};

struct Point {
  int x, y;
};

/// Where the buttons are, whatever the alert says.
inline Point allowIn(const Place& alert) {
  return {alert.x + alert.width - 162, alert.y + alert.height - 32};
}
inline Point dontAllowIn(const Place& alert) {
  return {alert.x + alert.width - 68, alert.y + alert.height - 32};
}

inline Place placeOf(PresenceDesktop& desktop, xcb_window_t window) {
  auto* const c = desktop.connection();
  const x11::server::ReplyPtr<xcb_get_geometry_reply_t> size(
      xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
  const x11::server::ReplyPtr<xcb_translate_coordinates_reply_t> origin(
      xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, window, desktop.root(), 0, 0),
                                      nullptr));
  if (size == nullptr || origin == nullptr) return {};
  return {origin->dst_x, origin->dst_y, size->width, size->height};
}

/// The program on a server with, or without, a window manager and a compositor.
class PresenceTest : public ::testing::TestWithParam<Kind> {
 protected:
  /// The alert, once it has the focus and what the person does counts.
  xcb_window_t ask(const std::string& name) {
    program_.send("ask " + name);
    const xcb_window_t alert = desktop_.alert();
    EXPECT_NE(alert, xcb_window_t{XCB_NONE});
    EXPECT_TRUE(waitUntil([&] { return desktop_.focus() == alert; }));
    untilActsCount(alert);
    return alert;
  }

  /// The half second in which nothing counts begins when the program knows of its focus.
  void untilActsCount(xcb_window_t alert) {
    EXPECT_EQ(program_.ask("focus"), "focused");
    observer_.waitUntilActsCount(alert);
  }

  /// Covers the screen by a left and a right half, so that no compositor steps aside for them.
  std::array<xcb_window_t, 2> coverTheScreen() {
    return {desktop_.makeWindow(0, 0, 640, 800, backdrop, true),
            desktop_.makeWindow(640, 0, 640, 800, backdrop, true)};
  }

  Place placeOf(xcb_window_t window) { return testing::placeOf(desktop_, window); }

  PresenceDesktop desktop_{GetParam()};
  AlertObserver observer_{desktop_.server().display()};
  PresenceWindow program_{desktop_.environment()};
};

/// Where it makes no difference who manages the windows.
class OnOpenboxTest : public ::testing::Test {
 protected:
  PresenceDesktop desktop_{Kind::openbox};
};

}  // namespace vesk::testing

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "input/InputInjector.h"
#include "platform/InputGate.h"
#include "platform/SystemClock.h"
#include "platform/linux/x11/input/XEventPoster.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

/// Waits until something holds that no event tells of. False after thirty seconds, far beyond what
/// any test needs.
bool eventually(const std::function<bool()>& holds);

/// Runs a command to its end. Its exit status.
int run(std::vector<std::string> command, std::vector<std::string> environment = {});

/// An X server of a test's own as `DISPLAY` of this process too, with a window manager if asked.
class Session {
 public:
  enum class Windows { bare, managed };

  explicit Session(Windows windows = Windows::bare);

  XServer& server() { return server_; }
  const x11::server::Connection& connection() const { return *connection_; }

  /// Sets the person's keyboard layout, as setxkbmap takes it.
  void setLayout(std::vector<std::string> layout);

  /// Waits until a window whose class holds `name` is the active one. That window, or none.
  xcb_window_t waitForActive(const std::string& name);

  bool has(xcb_window_t window, const std::string& property) const;

  /// The property as text.
  std::string text(xcb_window_t window, const std::string& property) const;

  /// A place in a window, on the root window.
  Point place(xcb_window_t window, Point inWindow) const;

  /// Every keycode that is down.
  std::vector<int> keysDown() const;
  /// Modifiers and buttons as the core protocol's state has them.
  int pointerState() const;
  int lockedModifiers() const;
  int lockedGroup() const;
  void lockGroup(int group) const;
  /// The key map as xmodmap prints it.
  std::string keyMap() const;
  /// A key that leaves no trace.
  void strikeShift() const;
  /// Waits until the server has done all that it was sent before.
  void settle() const;

 private:
  XServer server_;
  std::unique_ptr<x11::server::Connection> connection_;
  std::unique_ptr<ChildProcess> windowManager_;
};

/// The hands: what the program builds for a session.
class Hands {
 public:
  Hands() = default;

  /// The server has done all of it when this returns.
  void send(const std::string& json) {
    injector.handle(std::as_bytes(std::span(json)));
    poster.pointerLocation();
  }
  void releaseAll() {
    injector.releaseAll();
    poster.pointerLocation();
  }
  void key(int code, bool down, int mask = 0);
  /// Presses and lets go.
  void strike(int code, int mask = 0);
  void move(double x, double y);
  void button(int number, bool down, double x, double y);
  void click(int number, double x, double y);
  void text(const std::string& utf8);

  SystemClock clock;
  InputGate gate{clock};
  x11::input::XEventPoster poster{gate};
  x11::server::XDisplays displays;
  InputInjector injector{poster, displays, clock};
};

}  // namespace vesk::testing

#pragma once

#include <xkbcommon/xkbcommon.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::testing {

/// What an X client got. `detail` is a keycode or a button.
struct Received {
  enum class Kind { keyDown, keyUp, buttonDown, buttonUp, motion };
  Kind kind;
  int detail;
  int state;
  int x;
  int y;
  xkb_keysym_t symbol;
  std::uint32_t time;
};

/// A plain X client with a window over the whole root window and the input focus.
class EventRecorder {
 public:
  EventRecorder();

  /// Everything that came until now: the server has done what was sent to it before.
  std::vector<Received> take();

  /// Waits for one event without asking the server anything. False after ten seconds.
  bool waitForOne();

  /// Waits for so many events, or ten seconds.
  std::vector<Received> waitFor(std::size_t count);

  /// The server's time, in which events are stamped.
  std::uint32_t serverTime();

  /// The text of the keys that went down, each as its symbol under its own state.
  std::string takeText();

 private:
  std::optional<Received> convert(const xcb_generic_event_t& event);
  xkb_keysym_t symbolOf(const xcb_key_press_event_t& key);
  void readKeymap();

  x11::server::Connection connection_;
  xcb_window_t window_;
  std::uint8_t keyboardEvent_ = 0;
  std::unique_ptr<xkb_context, void (*)(xkb_context*)> context_;
  std::unique_ptr<xkb_keymap, void (*)(xkb_keymap*)> keymap_;
};

}  // namespace vesk::testing

#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::screen {

/// When to ask the server where the pointer is. While it moves, at any time. Once it has rested for
/// a moment the server tells when a mouse moves, whoever has grabbed the pointer, and until then
/// hardly anything needs to be asked: only programs can still put the pointer elsewhere, of which
/// nobody tells. A mouse in motion tells of itself a thousand times a second, so that the server is
/// asked for its first word alone.
///
/// Thread: one at a time. Owns: nothing but what the server tells the connection, which outlives it
/// and whose owner hands on every event. Fails: as a pointer that is always to be looked at, where
/// the server tells of no motion.
class PointerWatch {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// So long it has to stay where it is.
  static constexpr std::chrono::milliseconds beforeItRests{500};

  /// What a program does to a pointer that rests is seen this much later at most.
  static constexpr std::chrono::milliseconds betweenLooks{250};

  /// Waits for the server.
  explicit PointerWatch(const server::Connection& connection);

  void handle(const xcb_generic_event_t& event, Time now);

  /// Takes in that the server has the pointer there, in the root window.
  void see(int x, int y, Time now);

  /// Has it looked at for a while, wherever it is.
  void wake(Time now);

  /// When it is to be looked at unless the server tells of it before; long ago, if it does not
  /// rest.
  Time nextLook() const { return nextLook_; }
  bool isToLook(Time now) const { return nextLook_ <= now; }

 private:
  void beTold(bool wished);

  const server::Connection& connection_;
  std::optional<std::uint8_t> extension_;  ///< nothing: the server would not tell
  bool isTold_ = false;
  std::optional<std::pair<int, int>> place_;
  Time restsSince_;
  Time nextLook_;
};

}  // namespace vesk::x11::screen

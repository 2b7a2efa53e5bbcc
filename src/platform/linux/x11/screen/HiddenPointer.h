#pragma once

#include <xcb/res.h>

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::screen {

/// Whether a program hides the pointer from the person. The server neither tells of that nor
/// answers a question for it, but it lists what it keeps for each of its clients: for one that
/// hides the pointer, a count of how often.
///
/// Thread: one at a time. Owns: nothing of the server's; the connection outlives it. Fails: as a
/// pointer that is in sight.
class HiddenPointer {
 public:
  using Clock = std::chrono::steady_clock;

  explicit HiddenPointer(const server::Connection& connection);

  /// Waits for the server. A hidden pointer that comes back is noticed at once, one that is being
  /// hidden at the next look at all clients.
  bool isHidden(Clock::time_point now);

  /// How long after a look at all clients they are left alone, when it took that long.
  static Clock::duration pauseAfter(Clock::duration look);

 private:
  using Question = xcb_res_query_client_resources_cookie_t;

  std::optional<std::uint32_t> findHider() const;
  Question ask(std::uint32_t client) const {
    return xcb_res_query_client_resources(connection_.get(), client);
  }
  bool isYes(Question question) const;

  const server::Connection& connection_;
  xcb_atom_t count_ = XCB_ATOM_NONE;    ///< nothing: the server has no list
  std::optional<std::uint32_t> hider_;  ///< the client that hid it when they were last looked at
  Clock::time_point nextLook_;
};

}  // namespace vesk::x11::screen

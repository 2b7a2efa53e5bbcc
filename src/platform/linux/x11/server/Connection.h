#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace vesk::x11::server {

/// Replies of the X server are allocated by the C library.
struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, FreeReply>;

/// A connection to the X server that `DISPLAY` names.
/// Thread: any. Owns: the connection. Fails: as a connection that is false.
class Connection {
 public:
  Connection();

  /// Whether the server answered and is still there.
  explicit operator bool() const { return xcb_connection_has_error(connection_.get()) == 0; }

  xcb_connection_t* get() const { return connection_.get(); }

  /// The first one, as it was when the connection began; only to be asked for on one that has
  /// begun.
  const xcb_screen_t& screen() const;

  /// The first screen's root window.
  xcb_window_t root() const { return screen().root; }

  /// Which of the server's clients has made the window, by the part of its identifier that the
  /// server gave that client; 0 for the server itself.
  std::uint32_t makerOf(xcb_window_t window) const;

  /// Whether the server offers an extension of that name.
  bool offers(std::string_view extension) const;

  /// Takes the events that have come and forgets them: some are sent to everybody, asked for or
  /// not, and would pile up on a connection that only asks questions.
  void dropEvents() const;

  /// One line for a person whose display cannot be reached.
  static std::string advice();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
};

}  // namespace vesk::x11::server

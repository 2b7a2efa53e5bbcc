#pragma once

#include <wayland-client.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/wayland/server/Proxy.h"

namespace vesk::wayland::server {

/// Something that the compositor offers to whoever binds it.
struct Global {
  std::uint32_t name = 0;
  std::string interface;
  std::uint32_t version = 0;
};

/// A connection to the compositor that `WAYLAND_DISPLAY` names, and what is offered there.
///
/// Thread: one at a time; listeners are called from within `dispatch`, `wait` and `settle`. Owns:
/// the connection; every proxy made with it ends before it does. Fails: as a connection that is
/// false, from the first error on, the compositor's end included.
class Connection {
 public:
  using Clock = std::chrono::steady_clock;

  /// A compositor that has not told by then what it offers counts as one that does not answer.
  static constexpr std::chrono::seconds patience{2};

  /// Waits for the compositor to tell what it offers.
  Connection();
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  explicit operator bool() const;

  wl_display* get() const { return display_.get(); }

  /// Becomes readable when the compositor has something to tell.
  int descriptor() const { return wl_display_get_fd(display_.get()); }

  /// What is offered at this moment, in the order in which it was told.
  const std::vector<Global>& globals() const { return globals_; }

  /// Told from then on, after the list has changed.
  std::function<void(const Global&)> onOffered;
  std::function<void(const Global&)> onGone;

  /// Whether such a thing is offered, in that version at least.
  bool offers(std::string_view interface, std::uint32_t version) const;

  /// The first thing of that interface, at that version or whatever lower one is offered; null
  /// where there is none. The caller ends the proxy.
  template <typename Object>
  Object* bind(const wl_interface& interface, std::uint32_t version) const {
    return static_cast<Object*>(bindFirst(interface, version));
  }
  template <typename Object>
  Object* bind(const Global& global, const wl_interface& interface, std::uint32_t version) const {
    return static_cast<Object*>(bindGlobal(global, interface, version));
  }

  /// Sends what was asked for. Whether all of it is on its way: a compositor that has stopped
  /// reading takes no more.
  bool flush() const;

  /// Hands on what has come, without waiting. Whether the connection still stands.
  bool dispatch();

  /// Hands on what comes until that is true or the time is over. Whether it is true.
  bool wait(const std::function<bool()>& isDone, Clock::time_point deadline);

  /// Waits until the compositor has carried out all that was asked for. Whether it has, in time.
  bool settle(Clock::time_point deadline);

 private:
  struct Disconnect {
    void operator()(wl_display* display) const { wl_display_disconnect(display); }
  };

  void* bindFirst(const wl_interface& interface, std::uint32_t version) const;
  void* bindGlobal(const Global& global, const wl_interface& interface,
                   std::uint32_t version) const;
  enum class Reading { failed, nothing, something };
  Reading read(std::chrono::nanoseconds time) const;
  void add(Global global);
  void remove(std::uint32_t name);

  std::unique_ptr<wl_display, Disconnect> display_;
  Proxy<wl_registry> registry_;
  std::vector<Global> globals_;
  bool isKnown_ = false;  ///< what is offered
};

}  // namespace vesk::wayland::server

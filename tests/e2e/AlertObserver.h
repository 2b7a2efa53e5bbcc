#pragma once

#include <xcb/xcb.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "support/Patience.h"

namespace vesk::testing {

/// Sees what the server tells of the windows that come up from now on: which keys reach them, and
/// when the program asked for the time, from which on half a second passes before anything counts.
/// Times are the server's.
class AlertObserver {
 public:
  explicit AlertObserver(const std::string& display);
  ~AlertObserver();
  AlertObserver(const AlertObserver&) = delete;
  AlertObserver& operator=(const AlertObserver&) = delete;

  std::uint32_t now();

  /// When the program last asked for the time on behalf of that window; waited for if it has not,
  /// or not after `since`. One that it asked for at once, before this side knew of the window, is
  /// missed.
  std::uint32_t standsSince(xcb_window_t window, std::uint32_t since = 0,
                            int limitInMilliseconds = patience());

  /// Waits until all that the program has seen of the window so far is old enough.
  void waitUntilActsCount(xcb_window_t window);

  /// Waits for that many presses of a key to reach the window, those before included; whether they
  /// came.
  bool seesPresses(xcb_window_t window, std::uint8_t key, int count);
  int presses(xcb_window_t window, std::uint8_t key);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };
  struct Seen {
    std::uint32_t asked = 0;
    std::map<std::uint8_t, int> presses;
  };

  void read();
  void handle(const xcb_generic_event_t& event);
  void select(xcb_window_t window, std::uint32_t mask);
  bool waitFor(const std::function<bool()>& condition, int limitInMilliseconds = patience());

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t clock_;
  xcb_atom_t question_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint32_t now_ = 0;
  std::map<xcb_window_t, Seen> windows_;
  std::thread reader_;  ///< at once: a window may be asked about as soon as it is there
};

}  // namespace vesk::testing

#pragma once

#include <vector>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/SharedPixels.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// One monitor's pixels in memory that is shared with the server, grabbed by whole rows.
///
/// Thread: one at a time. Owns: the shared segment; the connection outlives it. Fails: as an object
/// that is false, without memory.
class MonitorPixels {
 public:
  MonitorPixels(const server::Connection& connection, const server::Monitor& monitor);

  explicit operator bool() const { return static_cast<bool>(memory_); }

  int stride() const { return monitor_.width * 4; }
  server::SharedPixels& memory() { return memory_; }
  const server::SharedPixels& memory() const { return memory_; }

  /// Asks the server for the rows that these rectangles of the monitor touch; `collect` waits until
  /// they have come, and tells whether they have.
  void request(const std::vector<PixelRect>& rects);
  bool collect() { return memory_.collect(); }

  /// Of the root window, where the pixels may show other windows than were known to be there: all
  /// that was asked for since they were confirmed.
  const PixelRect& unsure() const { return unsure_; }

  /// The windows stand where they stood when the pixels were asked for.
  void confirm() { unsure_ = {}; }

 private:
  const server::Connection& connection_;
  server::Monitor monitor_;
  server::SharedPixels memory_;
  PixelRect unsure_;
};

}  // namespace vesk::x11::screen

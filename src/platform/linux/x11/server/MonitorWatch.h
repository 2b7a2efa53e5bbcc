#pragma once

#include <mutex>
#include <vector>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Randr.h"

namespace vesk::x11::server {

/// The monitors as they are now, read anew only once the server has told of a change: a pointer
/// that is moved a thousand times a second asks as often.
///
/// Thread: any. Fails: as no monitors, when the server is gone.
class MonitorWatch {
 public:
  /// The connection outlives this object, which is the only reader of its events.
  explicit MonitorWatch(const Connection& connection);

  std::vector<Monitor> current();

 private:
  const Connection& connection_;
  std::mutex mutex_;
  bool stale_ = true;
  std::vector<Monitor> monitors_;
};

}  // namespace vesk::x11::server

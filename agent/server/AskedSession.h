#pragma once

#include "link/Frame.h"

namespace vesk::agent {

/// Whether the viewer has asked for a session and not for its end, so that nobody's screen is shown
/// to a page that was closed.
///
/// Thread: one.
class AskedSession {
 public:
  void sent(const Frame& frame);
  bool isWanted() const { return isWanted_; }
  void clear() { isWanted_ = false; }

 private:
  bool isWanted_ = false;
};

}  // namespace vesk::agent

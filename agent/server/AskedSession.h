#pragma once

#include "link/Frame.h"

namespace vesk::agent {

/// Whether the viewer has asked for a session that was neither refused nor ended, so that nobody's
/// screen is shown to a page that was closed.
///
/// Thread: one.
class AskedSession {
 public:
  /// The viewer has sent this to the program.
  void sent(const Frame& frame);

  /// The program has sent this. A refusal may belong to an earlier request: what is said of a
  /// session after it is about the one that was asked for last.
  void received(const Frame& frame);

  bool isWanted() const { return isAsked_ && !isRefused_; }
  void clear() { *this = AskedSession(); }

 private:
  bool isAsked_ = false;
  bool isRefused_ = false;
};

}  // namespace vesk::agent

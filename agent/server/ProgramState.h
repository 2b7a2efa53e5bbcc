#pragma once

#include <optional>
#include <vector>

#include "link/Frame.h"

namespace vesk::agent {

/// What the program has said of itself and of its session that still holds, for a page that comes
/// late.
///
/// Thread: one. Owns: two messages at most.
class ProgramState {
 public:
  /// The program has sent this.
  void received(const Frame& frame);

  /// This was sent to the program, by whomever.
  void sent(const Frame& frame);

  /// In the order in which they are to be told.
  std::vector<Frame> messages() const;

  void clear() { *this = ProgramState(); }

 private:
  std::optional<Frame> hello_;
  std::optional<Frame> session_;  ///< how far the session has come; nothing without one
  bool isStopped_ = false;        ///< a stopped session may say all the same that it has started
};

}  // namespace vesk::agent

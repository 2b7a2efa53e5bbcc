#pragma once

#include <memory>

namespace vesk {

/// Bounds how many of the agent's requests wait for the main thread, which may be held up by a
/// question to the person: the reader waits until there is a place, and the agent then with it. No
/// request is dropped, since one of them may be the stop.
///
/// Thread: `enter` on the reader's; a place is given up on any. Copies share their places.
class ControlBacklog {
 public:
  static constexpr int most = 1024;

  /// Taken until its last copy is gone.
  using Place = std::shared_ptr<void>;

  ControlBacklog();

  /// Waits until there is a place.
  Place enter() const;

 private:
  class State;

  std::shared_ptr<State> state_;
};

}  // namespace vesk

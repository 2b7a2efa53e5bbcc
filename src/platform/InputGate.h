#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/Clock.h"

namespace vesk {

/// Whether the viewer's hands may move. It is shut while the person is being asked something, since
/// a viewer must not be able to give the answer, and once the time that an end of input leaves to
/// what is under way is over. Whoever posts asks it before each single stroke.
///
/// Thread: any, but for `onClose` and `onEnded`, which are set before the gate is used and taken
/// away after.
/// Owns: nothing; the clock outlives it. Fails: never.
class InputGate {
 public:
  explicit InputGate(const Clock& clock) : clock_(clock) {}

  /// Waits for the stroke on its way and lets go of everything that the viewer holds. Called by
  /// each `close`, on its thread, with the gate shut.
  std::function<void()> onClose;

  /// Called by `ended` on its thread, once no end is left to be carried out.
  std::function<void()> onEnded;

  /// Shuts the gate at once. When this returns, nothing that is posted is on its way any more and
  /// nothing is held. Counts: as often as it was closed the gate must be opened.
  void close();
  void open();

  /// Input is at an end: what is under way may go on until `deadline`, then the gate is shut until
  /// `ended` tells that the end was carried out. Ends are carried out in their order.
  void endBy(HostTime deadline);
  void ended();

  bool isOpen() const;

  /// Whether the time of an end is over that was not carried out yet.
  bool isOver() const;

  /// Sleeps until `time`, or until the gate is shut where that comes first. Whether it is open.
  bool sleepUntil(HostTime time) const;

 private:
  bool isOpenNow() const { return closed_ == 0 && !isOverNow(); }
  bool isOverNow() const;

  const Clock& clock_;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  int closed_ = 0;
  std::deque<HostTime> ends_;  ///< not carried out yet, the first one first
};

/// Keeps a gate shut for as long as it lives. The gate outlives it.
class ShutGate {
 public:
  explicit ShutGate(InputGate& gate) : gate_(gate) { gate_.close(); }
  ~ShutGate() { gate_.open(); }
  ShutGate(const ShutGate&) = delete;
  ShutGate& operator=(const ShutGate&) = delete;

 private:
  InputGate& gate_;
};

}  // namespace vesk

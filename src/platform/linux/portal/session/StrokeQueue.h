#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/Geometry.h"
#include "platform/InputGate.h"
#include "platform/linux/keys/HeldRecord.h"
#include "platform/linux/portal/session/Stroke.h"

namespace vesk::portal::session {

/// The viewer's strokes on their way to the session that stands, if one does. A portal carries out
/// what it is told of in any order, so the next one goes out when the one before was answered.
///
/// The gate is asked as each one goes out: while it is shut nothing is pressed or moved, and what
/// is down is let go of. What is down is what was sent. Not every compositor lets go of it where a
/// session ends: what that one leaves down is written down for the next one, a successor's too,
/// which lets go of it first.
///
/// Thread: any. Owns: what waits, of which there is a bounded number. Fails: silently, as a queue
/// that takes nothing where no session stands; where one does not take what waits, all of that is
/// dropped, and what is down let go of.
class StrokeQueue {
 public:
  static constexpr std::size_t capacity = 4096;

  /// The gate outlives it.
  explicit StrokeQueue(const InputGate& gate) : gate_(gate) {}

  /// Whether there is a session that may control, and where its screen lies, if that is known.
  bool isOpen() const;
  std::optional<Rect> area() const;

  /// Another number when all is up though nobody has let go of it here.
  std::uint64_t age() const;

  /// Waits a little where there is no room.
  void push(const Stroke& stroke);

  /// Drops what waits, and lets go of what is down.
  void letGo();

  /// Waits until everything was answered. Whether it was, in time.
  bool settle(std::chrono::milliseconds patience);

  /// Called by a session when it begins, with what is called, on any thread and under the lock,
  /// when there is something to be taken. The number is the session's, for what it calls later.
  std::uint64_t open(std::optional<Rect> area, std::function<void()> wake);

  /// What to send next; nothing while one is on its way or none waits. `answered` tells that it is
  /// not on its way any more.
  std::optional<Stroke> take(std::uint64_t session);
  void answered(std::uint64_t session);

  /// What a session lets go of at its end, each told of once it is up. Nothing for a session that
  /// another one has followed.
  std::vector<Stroke> close(std::uint64_t session);
  void wasLetGo(const Stroke& stroke);

 private:
  using Held = std::pair<Stroke::Kind, std::int32_t>;

  void clear();
  void takeOver();
  std::vector<Stroke> releases() const;
  bool mayGo(const Stroke& stroke);
  void releaseHeld();
  void wakeWhereNeeded();

  const InputGate& gate_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Stroke> waiting_;
  bool isOnItsWay_ = false;
  std::set<Held> held_;
  keys::HeldRecord record_;
  std::uint64_t age_ = 0;
  std::uint64_t session_ = 0;
  std::optional<Rect> area_;
  std::function<void()> wake_;  ///< nothing where no session stands
};

}  // namespace vesk::portal::session

#pragma once

#include <chrono>
#include <deque>

namespace vesk::picture {

/// What a link of exactly the asked rate still has to take of the pictures that were sent, and what
/// it was given of late. Pure arithmetic: time is told.
///
/// Thread: one at a time. Fails: never.
class LinkLoad {
 public:
  /// Over this long no more is sent than the link takes in it, and a little.
  static constexpr double windowSeconds = 3;

  void pass(std::chrono::nanoseconds elapsed, double bitsPerSecond);
  void add(double bits);

  /// Bits that wait for the link.
  double waiting() const { return waiting_; }

  /// What may be added so that all of it has left within that many seconds, and the window holds no
  /// more than it may. Below zero where there is too much already.
  double room(double seconds) const;

  /// What may be added so that the window which ends `ahead` seconds from now holds no more than
  /// that many times what the link takes in it.
  double windowRoom(double fill, double ahead = 0) const;

  /// What may be added from now on until `ahead` seconds have passed, if `kept` is to be added at
  /// once then.
  double roomUntil(double ahead, double kept) const;

 private:
  struct Sent {
    double at = 0;
    double bits = 0;
  };

  double sentSince(double time) const;

  double rate_ = 0;
  double now_ = 0;
  double waiting_ = 0;
  std::deque<Sent> window_;
};

}  // namespace vesk::picture

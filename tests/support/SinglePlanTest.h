#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "platform/linux/picture/PicturePlan.h"

namespace vesk::testing {

/// A plan asked for one decision at a time: of a 1080p page whose key frame took half a second of
/// the link, which has been idle for long since.
class SinglePlanTest : public ::testing::Test {
 protected:
  using PicturePlan = picture::PicturePlan;
  using Action = PicturePlan::Action;
  using Decision = PicturePlan::Decision;
  using Tick = PicturePlan::Tick;

  static constexpr std::size_t macroblocks = 8160;
  static constexpr double mostBits = 783'000.0 * 8;

  SinglePlanTest() { begin(4'000'000); }

  void begin(std::int64_t bitRate) {
    plan = PicturePlan(macroblocks, mostBits, {});
    rate = static_cast<double>(bitRate);
    auto key = tickOf(macroblocks);
    key.keyFrame = true;
    pageQuantiser = send(key, 0.5 * rate).quantiser;
    idle(60);
  }

  Tick tickOf(std::size_t changed, std::size_t coarse = 0, int coarseQuantiser = 0) const {
    Tick tick;
    tick.changed = changed;
    tick.coarse = coarse;
    tick.coarseQuantiser = coarseQuantiser;
    tick.elapsed = std::chrono::nanoseconds(33'333'333);
    tick.untilKey = std::chrono::seconds(3);
    tick.bitRate = static_cast<std::int64_t>(rate);
    return tick;
  }

  Decision send(const Tick& tick, double bits) {
    const auto decision = plan.next(tick);
    plan.sent(decision, bits, 30);
    return decision;
  }

  void idle(int ticks) {
    for (int i = 0; i < ticks; ++i) send(tickOf(0), 0);
  }

  /// The link is held up by something that the plan learns nothing of.
  void holdUp(double seconds) { plan.sent({.action = Action::skip}, seconds * rate, 0); }

  /// Something that had left by then, and still counts among what was sent of late.
  void sendEarlier(double seconds) {
    holdUp(seconds);
    auto tick = tickOf(0);
    tick.elapsed = std::chrono::milliseconds(2600);
    send(tick, 0);
  }

  PicturePlan plan{macroblocks, mostBits, {}};
  double rate = 0;        ///< bits a second
  int pageQuantiser = 0;  ///< of its key frame
};

}  // namespace vesk::testing

#include "platform/linux/picture/PicturePlan.h"

#include <algorithm>

#include "platform/linux/picture/planLimits.h"

/// What has not changed and is to become better.

namespace vesk::picture {

using namespace limits;

PicturePlan::Decision PicturePlan::still(const Tick& tick) const {
  constexpr Decision skip = repeated(Action::skip);
  if (tick.coarse == 0 || stillTicks_ < ticksUntilRefined) return skip;
  return refinement(tick).value_or(skip);
}

std::optional<PicturePlan::Decision> PicturePlan::refinement(const Tick& tick) const {
  if (tick.coarse == 0 || untilKey_ < leastSecondsToEnjoy) return std::nullopt;
  // Rather a part of it much better than all of it hardly.
  const int goal = std::min(refinementGoal(tick), tick.coarseQuantiser - leastStep);
  if (goal < settledQuantiser()) return std::nullopt;
  const double bits =
      std::min(load_.room(refinementSeconds), refinementRoom()) - calmCost_.of(tick.changed, goal);
  const double all = refinementBits(tick.coarse, tick.coarseQuantiser, goal);
  std::size_t most = refinedAtOnce(tick);
  if (tick.moved && most == 0) return std::nullopt;
  if (isTooLittle(tick, most, goal)) most = 0;
  double part = std::min(bits / std::max(all, 1.0), 1.0);
  const double least = most > 0 ? leastComposedSeconds : leastRefinementSeconds;
  const bool enough = part >= 1 || bits >= rate_ * least;
  if (!enough || part <= 0) return std::nullopt;
  if (most > 0) {
    part = std::min(part, static_cast<double>(most) / static_cast<double>(tick.coarse));
  }
  const auto count = static_cast<std::size_t>(part * static_cast<double>(tick.coarse));
  Decision decision =
      encoded(goal, tick.changed + count, all * part + calmCost_.of(tick.changed, goal));
  decision.refined = count;
  decision.refinedFrom = tick.coarseQuantiser;
  return decision;
}

/// Pictures that are far apart must hold more than pieces do, or a still page would be good much
/// later than the link allows.
bool PicturePlan::isTooLittle(const Tick& tick, std::size_t pieces, int goal) const {
  if (pieces == 0 || tick.changed > 0 || tick.moved) return false;
  const double each = seconds(tick.elapsed);
  const double whole = each * static_cast<double>(tick.coarse) / static_cast<double>(pieces);
  return whole > longestByPieces && refinementBits(pieces, tick.coarseQuantiser, goal) < share_ / 2;
}

/// What is left until the next key frame should do for all that is coarse, in not too many steps.
int PicturePlan::refinementGoal(const Tick& tick) const {
  const int settled = settledQuantiser();
  const double bits = refinementRoom();
  int goal = std::max(settled, tick.coarseQuantiser - mostStep);
  while (goal < range_.worst && refinementBits(tick.coarse, tick.coarseQuantiser, goal) > bits) {
    ++goal;
  }
  return goal;
}

/// Bits for what is coarse until the next key frame.
double PicturePlan::refinementRoom() const {
  return load_.roomUntil(untilKey_, keptForKey(settledQuantiser(), keyFrameSeconds));
}

double PicturePlan::refinementBits(std::size_t macroblocks, int from, int to) const {
  if (to >= from) return 0;
  return refinementFactor * (keyCost_.of(macroblocks, to) - keyCost_.of(macroblocks, from));
}

/// As many coarse macroblocks as a composed picture has pieces for, beside what has changed. What
/// is coarse need not lie together, so half of them are left.
std::size_t PicturePlan::refinedAtOnce(const Tick& tick) const {
  if (tick.pieces >= tick.mostPieces) return 0;
  const std::size_t pieces = (tick.mostPieces - tick.pieces) / 2;
  const std::size_t room = macroblocks_ / composedPart;
  return std::min(pieces * composedPiece, room - std::min(room, tick.changed));
}

}  // namespace vesk::picture

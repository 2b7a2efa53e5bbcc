#include "platform/linux/picture/PicturePlan.h"

#include <algorithm>
#include <array>

#include "platform/linux/picture/planLimits.h"

/// What has changed or moved: how fine, how it is made, and when it waits.

namespace vesk::picture {

using namespace limits;

PicturePlan::Decision PicturePlan::change(const Tick& tick) {
  if (load_.waiting() > rate_ * worstDelay()) return repeated(Action::hold);
  const double allowed = std::max(load_.room(changeSeconds), share_);
  const int finest = calmCost_.quantiserFor(tick.changed, allowed, range_);
  calm_ = tick.changed <= macroblocks_ / smallPart && finest <= readableQuantiser;
  if (!calm_) return busy(tick);
  if (const auto refined = refinement(tick)) return *refined;
  return encoded(std::max(finest, settledQuantiser()), tick.changed, allowed);
}

/// What does not move is made as good as what does, if it is much worse.
std::size_t PicturePlan::refinedBesides(const Tick& tick, double bits) const {
  if (tick.coarse == 0 || busyQuantiser_ > tick.coarseQuantiser - worthwhileStep ||
      untilKey_ < leastSecondsToEnjoy) {
    return 0;
  }
  const double all = refinementBits(tick.coarse, tick.coarseQuantiser, busyQuantiser_);
  return static_cast<std::size_t>(static_cast<double>(tick.coarse) *
                                  std::clamp(bits / std::max(all, 1.0), 0.0, 1.0));
}

/// A picture that takes no more than this of what the link takes meanwhile keeps nobody waiting for
/// longer, and leaves the next key frame its room.
double PicturePlan::drainingPart() const {
  constexpr double steady = 0.92;
  constexpr double draining = 0.8;
  constexpr double hurrying = 0.5;
  const double seconds = load_.waiting() / rate_;
  return seconds > holdSeconds ? hurrying : seconds > changeSeconds ? draining : steady;
}

/// Whether the bits until the next key frame do for this picture and for all that follow, at the
/// same quantiser.
bool PicturePlan::lasts(const Tick& tick, int quantiser) const {
  const double now = costOfChanges().of(tick.changed, reference_, quantiser, keyCost_);
  if (now > std::max(load_.room(changeSeconds), share_ * drainingPart())) return false;
  // A coarser one would save next to nothing.
  if (quantiser >= busyQuantiser_ && now <= share_ * drainingPart()) return true;
  const double eachSecond = busyCost_.each(tick.changed, quantiser) * rate_ / std::max(share_, 1.0);
  const double kept = keptForKey(quantiser, movingKeyFrameSeconds);
  if (now + eachSecond * untilKey_ > load_.roomUntil(untilKey_, kept)) return false;
  return std::ranges::all_of(std::array{1.0, 2.0}, [&](double ahead) {
    return ahead >= untilKey_ || now + eachSecond * ahead <= load_.roomUntil(ahead, 0);
  });
}

/// One that is left out makes the next one dear, as what has moved too far is not found again.
bool PicturePlan::mustBeLeftOut(const Tick& tick) const {
  const double least = costOfChanges().of(tick.changed, reference_, range_.worst, keyCost_);
  // It must have left when the next key frame is due, which brings everything with it.
  const double alone = std::clamp(untilKey_, holdSeconds, worstDelay());
  const double room = load_.room(isIdle() ? alone : holdSeconds);
  return least > std::max(room, share_) || least > lastRoom();
}

/// One cheap picture does not make the next one cheap, nor does a dear one make it dear, unless the
/// link is behind already.
int PicturePlan::quantiserAmidChanges(const Tick& tick) const {
  constexpr int finerAtOnce = 4;
  constexpr int coarserAtOnce = 8;
  const bool atEase = load_.room(changeSeconds) > 0;
  // What was never tried is not known to be dear.
  const int tried =
      atEase && isIdle() && lastBits_ < share_ / 2 ? busyQuantiser_ - 1 : range_.worst;
  const int most = atEase && !isHeld() ? busyQuantiser_ + coarserAtOnce : range_.worst;
  const int coarsest = std::min({tried, most, range_.worst});
  int quantiser = std::max(busyQuantiser_ - finerAtOnce, range_.finest);
  while (quantiser < coarsest && !lasts(tick, quantiser)) ++quantiser;
  return quantiser;
}

PicturePlan::Decision PicturePlan::busy(const Tick& tick) {
  if (mustBeLeftOut(tick)) return repeated(Action::hold);
  busyQuantiser_ = quantiserAmidChanges(tick);
  const double wanted = costOfChanges().of(tick.changed, reference_, busyQuantiser_, keyCost_);
  Decision decision = encoded(busyQuantiser_, tick.changed, wanted);
  decision.searchesFar = isHeld() || afterKeyFrame_;
  const double room = std::min(load_.room(changeSeconds), roomBesideKey(busyQuantiser_));
  decision.refined = refinedBesides(tick, room - wanted);
  return decision;
}

/// What is left must come as a small change does, and be little beside what moves: a picture as a
/// whole finds more than one motion.
bool PicturePlan::mayGoAlong(const Tick& tick) const {
  return tick.moved && tick.mostPieces > 0 && tick.moved->pieces <= tick.mostPieces &&
         tick.moved->changed <= macroblocks_ / smallPart &&
         tick.moved->changed * leastGain <= tick.moved->count;
}

/// What moves keeps its quality, at no cost. Where the link has room to make all of it much better,
/// the picture is encoded as a whole once, and what moves goes along with that from then on.
std::optional<PicturePlan::Decision> PicturePlan::betterAnew(const Tick& tick) {
  if (!isIdle() || untilKey_ < leastSecondsToEnjoy) return std::nullopt;
  const Moved& moved = *tick.moved;
  const double bits = std::min(load_.room(changeSeconds), roomBesideKey(settledQuantiser()));
  const auto cost = [&](int quantiser) {
    return refinementBits(macroblocks_ - moved.changed, moved.quantiser, quantiser) +
           calmCost_.of(moved.changed, quantiser);
  };
  int goal = std::max(settledQuantiser(), moved.quantiser - mostStep);
  while (goal < moved.quantiser && cost(goal) > bits) ++goal;
  if (goal > moved.quantiser - worthwhileStep) return std::nullopt;
  calm_ = false;
  busyQuantiser_ = goal;
  reference_ = moved.quantiser;
  Decision decision = encoded(goal, tick.changed, cost(goal));
  decision.searchesFar = true;
  return decision;
}

/// Bits until the next key frame, amid changes.
double PicturePlan::roomBesideKey(int quantiser) const {
  return load_.roomUntil(untilKey_, keptForKey(quantiser, movingKeyFrameSeconds));
}

/// As many will be wanted by each of the pictures that follow. What comes at once after a rest may
/// take more, a part of the room each time.
double PicturePlan::allowedBesideMove(const Tick& tick) const {
  constexpr double part = 1.0 / 3;
  constexpr double least = 0.25;
  const double room = roomBesideKey(tick.moved->quantiser);
  const double picture = seconds(tick.elapsed);
  const double lasting = room * picture / std::max(untilKey_, picture);
  const double steady = std::clamp(lasting, share_ * least, share_ * drainingPart());
  if (goesOn_ || tick.moved->quantiser > readableQuantiser) return steady;
  return std::max(steady, std::min(load_.room(changeSeconds), room) * part);
}

PicturePlan::Decision PicturePlan::moved(Tick tick) {
  const std::size_t left = tick.moved->changed;
  const double least = calmCost_.of(left, range_.worst);
  if (least > std::max(load_.room(holdSeconds), share_) || least > lastRoom()) {
    return repeated(Action::hold);
  }
  tick.changed = left;
  tick.pieces = tick.moved->pieces;
  tick.coarse = tick.moved->coarse;
  tick.coarseQuantiser = tick.moved->coarseQuantiser;
  calm_ = true;
  busyQuantiser_ = std::max(tick.moved->quantiser, range_.finest);
  const double allowed = allowedBesideMove(tick);
  const int quantiser = std::max(calmCost_.quantiserFor(left, allowed, range_), settledQuantiser());
  Decision decision = encoded(quantiser, left, allowed);
  if (isIdle()) decision = refinement(tick).value_or(decision);
  decision.composed = decision.moves = composes(tick, decision);
  // A macroblock that holds a part of what has moved is cheaper then.
  decision.searchesFar = decision.quantiser > settledQuantiser();
  return decision;
}

bool PicturePlan::composes(const Tick& tick, const Decision& decision) const {
  return decision.action == Action::encode && tick.mostPieces > 0 &&
         tick.pieces <= tick.mostPieces && decision.macroblocks <= macroblocks_ / composedPart &&
         decision.refined <= refinedAtOnce(tick);
}

}  // namespace vesk::picture

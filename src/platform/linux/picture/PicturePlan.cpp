#include "platform/linux/picture/PicturePlan.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vesk::picture {
namespace {

/// How long a key frame may hold up the link. The pictures behind it wait with it, and few of them
/// may wait for more than half a second.
constexpr double keyFrameSeconds = 0.6;

/// The same amid changes, which go on behind it.
constexpr double movingKeyFrameSeconds = 0.4;

/// How long any other picture may hold up the link, with what was sent before it.
constexpr double refinementSeconds = 0.34;
constexpr double changeSeconds = 0.3;

/// A refinement is put off until the link has room for this much of it. One that is put together
/// from pieces costs what it is worth, so that many small ones are as cheap as few large ones.
constexpr double leastRefinementSeconds = 0.27;
constexpr double leastComposedSeconds = 0.09;

/// A page that takes longer than this to be made better by pieces is made better as a whole.
constexpr double longestByPieces = 1;

/// A picture that could not be coarser is left out if the link were held up for longer with it, and
/// if it takes more than the link takes meanwhile.
constexpr double holdSeconds = 0.42;

/// The last bits of a window, which are not planned with, are for what cannot be coarser.
constexpr double lastFill = 1.095;

/// A key frame below this part of what it may take is made anew.
constexpr double tooSmall = 0.87;
constexpr int mostAttempts = 2;

/// A key frame takes the place of a picture that is this many times as large.
constexpr double worthwhileSaving = 1.5;

/// One that takes no more than this times what it may is as well.
constexpr double keyTolerance = 1.12;

/// Pictures that come without a change before a coarse one is made better: an image can miss its
/// tick by a little while everything moves.
constexpr int ticksUntilRefined = 2;

/// A finer quantiser is worth another encoding from this difference on; beside what is encoded
/// anyway, from this one.
constexpr int leastStep = 3;
constexpr int worthwhileStep = 5;

/// Coarse pictures are made better in steps of this, each of which shows.
constexpr int mostStep = 9;

/// Better in two steps takes this much more than good at once.
constexpr double refinementFactor = 1.15;

/// What is finer than the settled quantiser by less than this looks the same.
constexpr int bearableStep = 3;

/// What a key frame is about to undo is not begun.
constexpr double leastSecondsToEnjoy = 0.3;

/// Up to this part of the picture a change is a small one.
constexpr std::size_t smallPart = 8;

/// Of what has changed, so many times as much must have moved as is new.
constexpr std::size_t leastGain = 4;

/// The picture before once more, which asks for nothing else.
constexpr PicturePlan::Decision repeated(PicturePlan::Action action) {
  return {action, false, PicturePlan::worstQuantiser, 0, 0, 0, 0};
}

double seconds(std::chrono::nanoseconds time) {
  return std::max(std::chrono::duration<double>(time).count(), 0.0);
}

}  // namespace

int PicturePlan::settledQuantiser() const {
  if (!keyIsReadable_) return std::max(goodQuantiser, range_.finest);
  const int kept = keyCost_.quantiserFor(macroblocks_, rate_ * keyFrameSeconds, range_);
  return kept <= keyQuantiser_ - worthwhileStep ? kept : keyQuantiser_;
}

int PicturePlan::bearable() const { return settledQuantiser() + bearableStep - 1; }

/// Slow links have to bear with more.
double PicturePlan::worstDelay() const {
  constexpr double slowRate = 1e6;
  return rate_ < slowRate ? 1.9 : 0.95;
}

PicturePlan::Decision PicturePlan::encoded(int quantiser, std::size_t macroblocks,
                                           double wantedBits) const {
  // A picture that was misjudged is made anew only if somebody would wait for it.
  const double most = std::max(rate_ * worstDelay() - load_.waiting(), 2 * wantedBits);
  return {Action::encode, false, quantiser, 0, macroblocks, wantedBits, std::min(most, mostBits_)};
}

PicturePlan::Decision PicturePlan::next(const Tick& tick) {
  rate_ = static_cast<double>(tick.bitRate);
  // After a stall there is no more room than after any idle time.
  constexpr double mostSeconds = 0.25;
  share_ = rate_ * std::min(seconds(tick.elapsed), mostSeconds);
  load_.pass(tick.elapsed, rate_);
  if (tick.changed > 0) {
    stillTicks_ = 0;
    keyRepeatable_ = false;
    keyAgain_ = keyAgain_ && tick.changed <= macroblocks_ / smallPart;
  } else {
    ++stillTicks_;
  }
  if (tick.keyFrame || !begun_) return keyFrame(tick);
  goesOn_ = std::exchange(moves_, mayGoAlong(tick));
  if (moves_) {
    const auto better = betterAnew(tick);
    return better ? *better : moved(tick);
  }
  Decision decision = tick.changed > 0 ? change(tick) : still(tick);
  // Amid changes much has only moved, which pieces find less of than the whole.
  decision.composed = (calm_ || tick.changed == 0) && composes(tick, decision);
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
  if (!isIdle()) return std::nullopt;
  const Moved& moved = *tick.moved;
  const double bits = std::min(load_.room(changeSeconds), roomBesideKey(tick, settledQuantiser()));
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
double PicturePlan::roomBesideKey(const Tick& tick, int quantiser) const {
  return load_.roomUntil(seconds(tick.untilKey), keptForKey(quantiser, movingKeyFrameSeconds));
}

/// As many will be wanted by each of the pictures that follow. What comes at once after a rest may
/// take more, a part of the room each time.
double PicturePlan::allowedBesideMove(const Tick& tick) const {
  constexpr double part = 1.0 / 3;
  constexpr double least = 0.25;
  const double room = roomBesideKey(tick, tick.moved->quantiser);
  const double picture = seconds(tick.elapsed);
  const double lasting = room * picture / std::max(seconds(tick.untilKey), picture);
  const double steady = std::clamp(lasting, share_ * least, share_ * drainingPart());
  if (goesOn_ || tick.moved->quantiser > readableQuantiser) return steady;
  return std::max(steady, std::min(load_.room(changeSeconds), room) * part);
}

PicturePlan::Decision PicturePlan::moved(Tick tick) {
  const std::size_t left = tick.moved->changed;
  const double least = calmCost_.of(left, range_.worst);
  if (least > std::max(load_.room(holdSeconds), share_) || least > load_.windowRoom(lastFill)) {
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

/// As many coarse macroblocks as a composed picture has pieces for, beside what has changed. What
/// is coarse need not lie together, so half of them are left.
std::size_t PicturePlan::refinedAtOnce(const Tick& tick) const {
  if (tick.pieces >= tick.mostPieces) return 0;
  const std::size_t pieces = (tick.mostPieces - tick.pieces) / 2;
  const std::size_t room = macroblocks_ / composedPart;
  return std::min(pieces * composedPiece, room - std::min(room, tick.changed));
}

/// Not if it could be much better by now, nor if it has become too large for the rate.
bool PicturePlan::mayRepeatKey(int quantiser) const {
  if (!keyRepeatable_ || afterKeyFrame_) return false;
  const double most = std::min(rate_ * keyFrameSeconds * keyTolerance, load_.room(worstDelay()));
  return keyQuantiser_ <= std::max(quantiser, bearable()) && keyBits_ <= most;
}

PicturePlan::Decision PicturePlan::keyFrame(const Tick& tick) {
  const bool moving = begun_ && (moves_ || !calm_) && stillTicks_ < ticksUntilRefined;
  const double room = load_.room(moving ? movingKeyFrameSeconds : keyFrameSeconds);
  const double allowed = std::min(std::max(room, rate_ * 0.05), mostBits_);
  int quantiser = keyCost_.quantiserFor(macroblocks_, allowed, range_);

  const double most = std::min(allowed * keyTolerance, mostBits_);
  if (tick.changed == 0 && mayRepeatKey(quantiser)) {
    return {Action::repeatKey, true, keyQuantiser_, 0, macroblocks_, 0, most};
  }
  const int finest = moving ? std::max(busyQuantiser_, range_.finest) : range_.finest;
  quantiser = std::max(quantiser, finest);
  // What has not changed need not be encoded again.
  if (keyAgain_ && keyBits_ >= allowed * tooSmall && keyBits_ <= most && keyQuantiser_ >= finest &&
      keyQuantiser_ <= quantiser) {
    quantiser = keyQuantiser_;
  }
  Decision decision = encoded(quantiser, macroblocks_, allowed);
  decision.finest = finest;
  decision.keyFrame = true;
  decision.mostBits = most;
  return decision;
}

std::optional<PicturePlan::Decision> PicturePlan::instead(const Decision& decision, double bits) {
  if (decision.action != Action::encode) return std::nullopt;
  const bool small = decision.keyFrame && attempts_ < mostAttempts &&
                     bits < decision.wantedBits * tooSmall && decision.quantiser > decision.finest;
  if (bits <= decision.mostBits && !small) return std::nullopt;
  // Instead of one that only takes long, nothing that takes as long.
  const double leastKey = keyCost_.of(macroblocks_, range_.worst);
  if (!decision.keyFrame && bits <= mostBits_ && leastKey > bits / worthwhileSaving) {
    return std::nullopt;
  }
  ++attempts_;
  learn(decision, bits);
  // What takes a whole picture's worth as it is takes as much as a key frame.
  if (!decision.keyFrame) keyCost_.learn(macroblocks_, decision.quantiser, bits);
  Decision other = decision;
  if (!decision.keyFrame) {
    other.wantedBits = std::max(decision.wantedBits, load_.room(movingKeyFrameSeconds));
  }
  other.quantiser =
      std::max(keyCost_.quantiserFor(macroblocks_, other.wantedBits, range_), decision.finest);
  if (!small) {
    // Wider steps each time: all of it is one picture's time.
    other.quantiser = std::max(other.quantiser, decision.quantiser + (1 << (attempts_ - 1)));
    other.quantiser = std::min(other.quantiser, std::max(range_.worst, decision.quantiser + 1));
  }
  if (other.quantiser > range_.worst || other.quantiser == decision.quantiser) {
    return std::nullopt;
  }
  other.keyFrame = true;
  other.composed = other.moves = false;
  other.refined = 0;
  other.macroblocks = macroblocks_;
  keyAgain_ = true;
  return other;
}

PicturePlan::Decision PicturePlan::still(const Tick& tick) const {
  constexpr Decision skip = repeated(Action::skip);
  if (tick.coarse == 0 || stillTicks_ < ticksUntilRefined) return skip;
  return refinement(tick).value_or(skip);
}

/// The bits of a key frame of that quantiser, if it may hold up the link for so long.
double PicturePlan::keptForKey(int quantiser, double seconds) const {
  const double wanted = std::min(keyCost_.of(macroblocks_, quantiser), rate_ * seconds);
  return std::max(wanted, keyCost_.of(macroblocks_, range_.worst));
}

double PicturePlan::refinementBits(std::size_t macroblocks, int from, int to) const {
  if (to >= from) return 0;
  return refinementFactor * (keyCost_.of(macroblocks, to) - keyCost_.of(macroblocks, from));
}

/// Bits for what is coarse until the next key frame.
double PicturePlan::refinementRoom(const Tick& tick) const {
  return load_.roomUntil(seconds(tick.untilKey), keptForKey(settledQuantiser(), keyFrameSeconds));
}

/// What is left until the next key frame should do for all that is coarse, in not too many steps.
int PicturePlan::refinementGoal(const Tick& tick) const {
  const int settled = settledQuantiser();
  const double bits = refinementRoom(tick);
  int goal = std::max(settled, tick.coarseQuantiser - mostStep);
  while (goal < range_.worst && refinementBits(tick.coarse, tick.coarseQuantiser, goal) > bits) {
    ++goal;
  }
  return goal;
}

/// Pictures that are far apart must hold more than pieces do, or a still page would be good much
/// later than the link allows.
bool PicturePlan::isTooLittle(const Tick& tick, std::size_t pieces, int goal) const {
  if (pieces == 0 || tick.changed > 0 || tick.moved) return false;
  const double each = seconds(tick.elapsed);
  const double whole = each * static_cast<double>(tick.coarse) / static_cast<double>(pieces);
  return whole > longestByPieces && refinementBits(pieces, tick.coarseQuantiser, goal) < share_ / 2;
}

std::optional<PicturePlan::Decision> PicturePlan::refinement(const Tick& tick) const {
  if (tick.coarse == 0 || seconds(tick.untilKey) < leastSecondsToEnjoy) return std::nullopt;
  // Rather a part of it much better than all of it hardly.
  const int goal = std::min(refinementGoal(tick), tick.coarseQuantiser - leastStep);
  if (goal < settledQuantiser()) return std::nullopt;
  const double bits = std::min(load_.room(refinementSeconds), refinementRoom(tick)) -
                      calmCost_.of(tick.changed, goal);
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

int PicturePlan::affordable(std::size_t changed) const {
  return calmCost_.quantiserFor(changed, std::max(load_.room(changeSeconds), share_), range_);
}

PicturePlan::Decision PicturePlan::change(const Tick& tick) {
  if (load_.waiting() > rate_ * worstDelay()) return repeated(Action::hold);
  const double allowed = std::max(load_.room(changeSeconds), share_);
  const int finest = affordable(tick.changed);
  calm_ = tick.changed <= macroblocks_ / smallPart && finest <= readableQuantiser;
  if (!calm_) return busy(tick);
  if (const auto refined = refinement(tick)) return *refined;
  return encoded(std::max(finest, settledQuantiser()), tick.changed, allowed);
}

/// What does not move is made as good as what does, if it is much worse.
std::size_t PicturePlan::refinedBesides(const Tick& tick, double bits) const {
  if (tick.coarse == 0 || busyQuantiser_ > tick.coarseQuantiser - worthwhileStep) return 0;
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
  const double untilKey = seconds(tick.untilKey);
  const double kept = keptForKey(quantiser, movingKeyFrameSeconds);
  if (now + eachSecond * untilKey > load_.roomUntil(untilKey, kept)) return false;
  return std::ranges::all_of(std::array{1.0, 2.0}, [&](double ahead) {
    return ahead >= untilKey || now + eachSecond * ahead <= load_.roomUntil(ahead, 0);
  });
}

/// One that is left out makes the next one dear, as what has moved too far is not found again.
bool PicturePlan::mustBeLeftOut(const Tick& tick) const {
  const double least = costOfChanges().of(tick.changed, reference_, range_.worst, keyCost_);
  // It must have left when the next key frame is due, which brings everything with it.
  const double alone = std::clamp(seconds(tick.untilKey), holdSeconds, worstDelay());
  const double room = load_.room(isIdle() ? alone : holdSeconds);
  return least > std::max(room, share_) || least > load_.windowRoom(lastFill);
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
  const int most = atEase && !held_ ? busyQuantiser_ + coarserAtOnce : range_.worst;
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
  decision.searchesFar = held_ || afterKeyFrame_;
  decision.refined = refinedBesides(tick, load_.room(changeSeconds) - wanted);
  return decision;
}

void PicturePlan::learn(const Decision& decision, double bits) {
  if (decision.keyFrame) {
    if (keyAgain_) {
      keyCost_.learnAgain(macroblocks_, decision.quantiser, bits);
    } else {
      keyCost_.learn(macroblocks_, decision.quantiser, bits);
    }
  } else if (!calm_ && stillTicks_ == 0) {
    if (decision.refined == 0) {
      auto& cost = held_ ? heldCost_ : busyCost_;
      reference_ = cost.learn(decision.macroblocks, reference_, decision.quantiser, keyCost_, bits);
    }
  } else if (decision.refined == 0) {
    // A few say little, unless the link has no room for them.
    const std::size_t telling = bits > share_ ? BitCost::tellingNumber : 0;
    calmCost_.learn(std::max(decision.macroblocks, telling), decision.quantiser, bits);
  } else {
    learnOfRefinement(decision, bits);
  }
}

/// Together with what they had taken before, refined macroblocks tell what a key frame of that
/// quantiser takes.
void PicturePlan::learnOfRefinement(const Decision& decision, double bits) {
  constexpr std::size_t tellingNumber = 200;
  if (refined_.quantiser != decision.quantiser) refined_ = {.quantiser = decision.quantiser};
  const double changes = calmCost_.of(decision.macroblocks - decision.refined, decision.quantiser);
  refined_.macroblocks += decision.refined;
  refined_.before += keyCost_.of(decision.refined, decision.refinedFrom);
  refined_.bits += std::max(bits - changes, 0.0) / refinementFactor;
  if (refined_.macroblocks < tellingNumber) return;
  keyCost_.learnAgain(refined_.macroblocks, decision.quantiser, refined_.before + refined_.bits);
  refined_ = {};
}

void PicturePlan::sent(const Decision& decision, double bits, double quality) {
  load_.add(bits);
  lastBits_ = bits;
  attempts_ = 0;
  begun_ = true;
  // Before `held_` tells of this picture.
  if (decision.action == Action::encode) learn(decision, bits);
  afterKeyFrame_ = decision.keyFrame;
  held_ = decision.action == Action::hold;
  if (held_) busyCost_.doubt();
  if (decision.action != Action::encode) return;
  keyRepeatable_ = decision.keyFrame;
  if (!decision.keyFrame) return;
  // A page at the border must not change sides with every key frame.
  constexpr double border = 1;
  keyIsReadable_ = quality >= readableQuality - (keyIsReadable_ ? border : 0);
  keyQuantiser_ = decision.quantiser;
  keyBits_ = bits;
  busyQuantiser_ = decision.quantiser;
  reference_ = decision.quantiser;
  keyAgain_ = true;
}

}  // namespace vesk::picture

#include "platform/linux/picture/PicturePlan.h"

#include <algorithm>
#include <utility>

#include "platform/linux/picture/planLimits.h"

namespace vesk::picture {

using namespace limits;

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

/// What three seconds may still take, without what the next key frame takes at least.
double PicturePlan::lastRoom() const {
  const double key = keyCost_.of(macroblocks_, range_.worst);
  return std::min(load_.windowRoom(lastFill), load_.windowRoom(lastFill, untilKey_) - key);
}

PicturePlan::Decision PicturePlan::encoded(int quantiser, std::size_t macroblocks,
                                           double wantedBits) const {
  // A picture that was misjudged is made anew only if somebody would wait for it, or three seconds
  // took more than they may.
  const double late = std::max(rate_ * worstDelay() - load_.waiting(), 2 * wantedBits);
  const double most = std::min(late, std::max(lastRoom(), wantedBits));
  return {Action::encode, false, quantiser, 0, macroblocks, wantedBits, std::min(most, mostBits_)};
}

PicturePlan::Decision PicturePlan::next(const Tick& tick) {
  rate_ = static_cast<double>(tick.bitRate);
  // After a stall there is no more room than after any idle time.
  constexpr double mostSeconds = 0.25;
  share_ = rate_ * std::min(seconds(tick.elapsed), mostSeconds);
  load_.pass(tick.elapsed, rate_);
  untilKey_ = seconds(tick.untilKey);
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

/// Not if it could be much better by now, nor if it has become too large for the rate.
bool PicturePlan::mayRepeatKey(int quantiser) const {
  if (!keyRepeatable_ || afterKeyFrame_) return false;
  const double most = std::min(rate_ * keyFrameSeconds * keyTolerance, load_.room(worstDelay()));
  return keyQuantiser_ <= std::max(quantiser, bearable()) && keyBits_ <= most;
}

/// What has not changed need not be encoded again: not because the key frame takes a little less
/// than it may, nor where nobody would see what is finer.
bool PicturePlan::mayKeepKey(int quantiser, double allowed) const {
  if (!keyAgain_) return false;
  if (keyQuantiser_ <= quantiser) return keyBits_ >= allowed * tooSmall;
  return keyQuality_ >= flawlessQuality && settledQuantiser() == keyQuantiser_ &&
         keyQuantiser_ - quantiser < leastStep;
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
  int finest = moving ? std::max(busyQuantiser_, range_.finest) : range_.finest;
  quantiser = std::max(quantiser, finest);
  if (keyBits_ <= most && keyQuantiser_ >= finest && mayKeepKey(quantiser, allowed)) {
    if (keyQuantiser_ > quantiser) finest = keyQuantiser_;
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

/// The bits of a key frame of that quantiser, if it may hold up the link for so long.
double PicturePlan::keptForKey(int quantiser, double seconds) const {
  const double wanted = std::min(keyCost_.of(macroblocks_, quantiser), rate_ * seconds);
  return std::max(wanted, keyCost_.of(macroblocks_, range_.worst));
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
      auto& cost = isHeld() ? heldCost_ : busyCost_;
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
  // Before `isHeld` tells of this picture.
  if (decision.action == Action::encode) learn(decision, bits);
  afterKeyFrame_ = decision.keyFrame;
  heldInARow_ = decision.action == Action::hold ? heldInARow_ + 1 : 0;
  if (isHeld() && heldInARow_ <= mostDoubts) busyCost_.doubt();
  if (decision.action != Action::encode) return;
  keyRepeatable_ = decision.keyFrame;
  if (!decision.keyFrame) return;
  // A page at the border must not change sides with every key frame.
  constexpr double border = 1;
  keyIsReadable_ = quality >= readableQuality - (keyIsReadable_ ? border : 0);
  keyQuality_ = quality;
  keyQuantiser_ = decision.quantiser;
  keyBits_ = bits;
  busyQuantiser_ = decision.quantiser;
  reference_ = decision.quantiser;
  keyAgain_ = true;
}

}  // namespace vesk::picture

#include "platform/linux/picture/PicturePlan.h"

#include <algorithm>
#include <cmath>

namespace vesk::picture {
namespace {

using namespace std::chrono_literals;

/// Six steps of the quantiser double its step size, which about halves the bits.
constexpr double quantisersPerHalving = 6;

/// No access unit may come near the megabyte at which a reader of frames gives up.
constexpr double mostBitsAtOnce = 6e6;

/// Saved up over this long at most; a picture then goes out in one burst.
constexpr double savingSeconds = 4;

/// Beyond this a picture is never sent.
constexpr auto mostBitsEver = static_cast<std::size_t>(8e6);

/// A key frame whose cost was misjudged by more than this is made anew: the viewer would wait long
/// for it.
constexpr double misjudged = 2;

/// What is kept of the savings while much changes: a burst of a video is no gain to anybody.
constexpr double busySavingSeconds = 0.25;

/// Over how many pictures a debt is paid back, or savings are spent, while much changes.
constexpr double picturesToBalance = 15;

/// A key frame amid changes may take what this long brings.
constexpr double keyFrameSeconds = 0.35;

/// Pictures that come without a change before a coarse one is made better: an image can miss its
/// tick by a little while everything moves.
constexpr int ticksUntilRefined = 2;

/// A finer quantiser is worth another encoding from this difference on.
constexpr int worthwhileStep = 4;

constexpr auto patience = 1s;

/// A screen that has stood still for some pictures is likely to go on: the bits of the next second
/// may be spent at once on making it good.
constexpr double advanceSeconds = 1;
constexpr int ticksUntilAdvance = 12;

/// Up to this part of the picture a change is a small one.
constexpr std::size_t smallPart = 8;

/// The part of the bits at good quality that is left at a coarser quantiser.
double remainder(int quantiser) {
  return std::exp2((PicturePlan::goodQuantiser - quantiser) / quantisersPerHalving);
}

/// The finest useful quantiser at which what takes `bitsAtGood` takes no more than `bits`.
int quantiserFor(double bitsAtGood, double bits) {
  if (bits <= 0) return PicturePlan::worstQuantiser;
  if (bitsAtGood <= bits) return PicturePlan::goodQuantiser;
  const double steps = std::ceil(quantisersPerHalving * std::log2(bitsAtGood / bits));
  constexpr double most = PicturePlan::worstQuantiser - PicturePlan::goodQuantiser;
  return PicturePlan::goodQuantiser + static_cast<int>(std::min(steps, most));
}

}  // namespace

void PicturePlan::Cost::learn(const Decision& decision, double bits) {
  constexpr std::size_t tellingNumber = 16;
  if (decision.macroblocks < tellingNumber) return;
  const double measured =
      bits / remainder(decision.quantiser) / static_cast<double>(decision.macroblocks);
  each_ = std::max((each_ + measured) / 2, 1.0);
}

PicturePlan::Decision PicturePlan::next(const Tick& tick) {
  earn(tick);
  if (tick.changed > 0) {
    stillTicks_ = 0;
    keyRepeatable_ = false;
  } else {
    ++stillTicks_;
  }
  if (tick.keyFrame || !begun_) return keyFrame(tick);
  return tick.changed > 0 ? change(tick) : still(tick);
}

void PicturePlan::earn(const Tick& tick) {
  rate_ = static_cast<double>(tick.bitRate);
  const double seconds = std::chrono::duration<double>(tick.elapsed).count();
  share_ = rate_ * std::max(seconds, 0.0);
  limit_ = std::min(rate_ * savingSeconds, mostBitsAtOnce);
  credit_ = std::min(credit_ + share_, limit_);
  sinceRefined_ += tick.elapsed;
}

PicturePlan::Decision PicturePlan::keyFrame(const Tick& tick) {
  if (tick.changed == 0 && keyRepeatable_ && !afterKeyFrame_) {
    return {Action::repeatKey, true, goodQuantiser, true, macroblocks_, mostBitsEver};
  }
  // Whatever it was like before, a picture that has become good stays good.
  const bool good = begun_ && (calm_ || tick.changed == 0) && tick.coarse == 0;
  const double allowed = std::max(good ? credit_ : std::min(credit_, 0.0), rate_ * keyFrameSeconds);
  const int quantiser = quantiserFor(keyCost_.of(macroblocks_), std::min(allowed, mostBitsAtOnce));
  const auto most = static_cast<std::size_t>(std::min(allowed, mostBitsAtOnce) * misjudged);
  return {Action::encode, true, quantiser, true, macroblocks_, std::min(most, mostBitsEver)};
}

std::optional<PicturePlan::Decision> PicturePlan::smaller(Decision decision, std::size_t bits,
                                                          std::size_t macroblocks) {
  if (decision.action != Action::encode || decision.quantiser >= worstQuantiser) {
    return std::nullopt;
  }
  const double factor = static_cast<double>(bits) / static_cast<double>(decision.mostBits);
  const double steps = std::ceil(quantisersPerHalving * std::log2(std::max(factor, 1.0)) + 1);
  decision.quantiser = std::min(decision.quantiser + static_cast<int>(steps), worstQuantiser);
  decision.keyFrame = true;
  decision.refine = true;
  decision.macroblocks = macroblocks;
  return decision;
}

PicturePlan::Decision PicturePlan::still(const Tick& tick) const {
  constexpr Decision skip{Action::skip, false, worstQuantiser, true, 0, mostBitsEver};
  if (tick.coarse == 0 || stillTicks_ < ticksUntilRefined) return skip;
  const double advance = stillTicks_ >= ticksUntilAdvance ? rate_ * advanceSeconds : 0;
  const double allowed = std::min(credit_ + advance, mostBitsAtOnce);
  int quantiser = quantiserFor(calmCost_.of(tick.coarse), allowed);
  // What has been waited for in vain is paid for out of the savings as they are.
  if (sinceRefined_ >= patience && credit_ > limit_ / 2) {
    quantiser = std::min(quantiser, std::max(goodQuantiser, coarseQuantiser_ - worthwhileStep));
  }
  const bool worthwhile =
      quantiser == goodQuantiser || quantiser <= coarseQuantiser_ - worthwhileStep;
  if (!worthwhile) return skip;
  return {Action::encode, false, quantiser, true, tick.coarse, mostBitsEver};
}

PicturePlan::Decision PicturePlan::change(const Tick& tick) {
  const std::size_t all = tick.changed + tick.coarse;
  calm_ = tick.changed <= macroblocks_ / smallPart && calmCost_.of(tick.changed) <= credit_ / 2;
  if (!calm_) return busy(tick);
  const int quantiser = quantiserFor(calmCost_.of(all), credit_ / 2);
  const bool worthwhile =
      quantiser == goodQuantiser || quantiser <= coarseQuantiser_ - worthwhileStep;
  if (worthwhile) return {Action::encode, false, quantiser, true, all, mostBitsEver};
  return {Action::encode, false, goodQuantiser, false, tick.changed, mostBitsEver};
}

PicturePlan::Decision PicturePlan::busy(const Tick& tick) {
  credit_ = std::min(credit_, rate_ * busySavingSeconds);
  const double least = share_ / 4;
  const double allowed = std::max(share_ + credit_ / picturesToBalance, least);
  const int wanted = quantiserFor(busyCost_.of(tick.changed), allowed);
  // One cheap picture does not make the next one cheap.
  constexpr int finerAtOnce = 2;
  busyQuantiser_ = std::max(wanted, busyQuantiser_ - finerAtOnce);
  return {Action::encode, false, busyQuantiser_, true, tick.changed, mostBitsEver};
}

void PicturePlan::sent(const Decision& decision, std::size_t bits) {
  const auto spent = static_cast<double>(bits);
  credit_ -= spent;
  begun_ = true;
  afterKeyFrame_ = decision.keyFrame;
  if (decision.action != Action::encode) return;
  keyRepeatable_ = decision.keyFrame && decision.quantiser == goodQuantiser;
  if (decision.keyFrame) {
    keyCost_.learn(decision, spent);
  } else if (!calm_ && stillTicks_ == 0) {
    busyCost_.learn(decision, spent);
  } else if (!decision.refine || coarseQuantiser_ == worstQuantiser) {
    // The last step to a good picture says little about what the whole way takes.
    calmCost_.learn(decision, spent);
  }
  if (!calm_ && stillTicks_ == 0 && !decision.keyFrame) {
    coarseQuantiser_ = worstQuantiser;
  } else {
    busyQuantiser_ = decision.quantiser;
    if (decision.refine) {
      coarseQuantiser_ = decision.quantiser;
      sinceRefined_ = {};
    }
  }
}

}  // namespace vesk::picture

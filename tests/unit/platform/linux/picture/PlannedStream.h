#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/picture/PicturePlan.h"

namespace vesk::picture {

/// A plan, an encoder of which each macroblock is remembered, and a link of exactly the asked rate:
/// what becomes of a screen that is told picture by picture, as somebody sees it who looks at it.
///
/// Macroblocks are all of one kind, and come in tiles that are like one. Those that change are the
/// first of the screen.
///
/// Thread: one. Fails: never.
class PlannedStream {
 public:
  static constexpr std::size_t macroblocks = 8160;
  static constexpr std::size_t tile = 30;
  static constexpr std::size_t tiles = macroblocks / tile;
  static constexpr double mostBits = 783'000.0 * 8;
  static constexpr int picturesPerSecond = 30;
  static constexpr int keyInterval = 4 * picturesPerSecond;
  static constexpr std::chrono::nanoseconds interval{33'333'333};

  struct Picture {
    PicturePlan::Decision decision;
    double bits = 0;
    double delay = 0;  ///< seconds until the link has taken it
    double seen = 0;   ///< the quantiser of the screen, on average
  };

  PlannedStream(std::int64_t linkRate, double letters) : bitRate(linkRate), density(letters) {}

  /// One picture in which so many macroblocks have changed.
  const Picture& show(std::size_t changed) {
    std::fill_n(stale_.begin(), tilesOf(changed), 1);
    return take(tickOf());
  }

  /// One in which so many have moved, and so many of them, the last ones, are new.
  const Picture& scroll(std::size_t moving, std::size_t left) {
    // What has moved while pictures were left out is not found again.
    if (missing() > 0) return show(moving);
    PicturePlan::Tick tick = tickOf();
    tick.moved =
        PicturePlan::Moved{left, (left + tile - 1) / tile, meanOf(moving), 0, 0, moving - left};
    tick.changed = moving;
    tick.pieces = mostPieces + 1;
    tick.coarse = 0;
    const auto begin = quantisers_.begin();
    std::rotate(begin, begin + static_cast<std::ptrdiff_t>(tilesOf(left)),
                begin + static_cast<std::ptrdiff_t>(tilesOf(moving)));
    std::fill(stale_.begin() + static_cast<std::ptrdiff_t>(tilesOf(moving - left)),
              stale_.begin() + static_cast<std::ptrdiff_t>(tilesOf(moving)), 1);
    const Picture& picture = take(tick);
    const bool held = picture.decision.action == PicturePlan::Action::hold;
    if (held) std::fill_n(stale_.begin(), tilesOf(moving), 1);
    if (!held && !picture.decision.moves) {
      std::fill_n(quantisers_.begin(), tilesOf(moving), picture.decision.quantiser);
    }
    return picture;
  }

  const Picture& last() const { return pictures.back(); }

  /// What stands still for so many pictures.
  const Picture& rest(int count) {
    for (int i = 0; i < count; ++i) show(0);
    return last();
  }

  /// The quantiser of what the screen shows, at its coarsest.
  int worstSeen() const { return *std::ranges::max_element(quantisers_); }

  /// Macroblocks that have changed and were not sent.
  std::size_t missing() const {
    return tile * static_cast<std::size_t>(std::ranges::count(stale_, 1));
  }

  double rate() const { return static_cast<double>(bitRate); }

  /// The bits of that many pictures, from the given one on, in seconds of the link.
  double load(std::size_t from, std::size_t count) const {
    double sum = 0;
    for (std::size_t i = from; i < std::min(from + count, pictures.size()); ++i) {
      sum += pictures[i].bits;
    }
    return sum / rate();
  }

  /// What the fullest three seconds hold, beside what the link takes in them.
  double fullestWindow() const {
    constexpr std::size_t window = 3 * picturesPerSecond;
    double fullest = 0;
    for (std::size_t i = 0; i < pictures.size(); ++i) fullest = std::max(fullest, load(i, window));
    return fullest / 3;
  }

  double worstDelay(std::size_t from = 0) const {
    double worst = 0;
    for (std::size_t i = from; i < pictures.size(); ++i) worst = std::max(worst, pictures[i].delay);
    return worst;
  }

  std::int64_t bitRate;  ///< of the link
  double density;        ///< of the letters: bits for each doubling of their power
  double fresh = 0.15;   ///< the part of a change of which the picture before tells nothing
  std::size_t mostPieces = 0;
  PicturePlan plan{macroblocks, mostBits, quantiserRangeFor(macroblocks, bitRate)};
  std::vector<Picture> pictures;
  int untilKey = 0;  ///< pictures

 private:
  static std::size_t tilesOf(std::size_t count) { return (count + tile - 1) / tile; }

  /// Bits of a tile of letters.
  double bitsAt(int quantiser) const {
    const double step = std::exp2((quantiser - 4) / 6.0);
    const int beyond = std::max(quantiser - QuantiserRange::worstOfStandard, 0);
    const double each = std::log2(1 + 140.0 * 140 / step / step) / 2 * std::pow(0.6, beyond);
    return density * each * static_cast<double>(tile);
  }

  int meanOf(std::size_t moving) const {
    int sum = 0;
    for (std::size_t i = 0; i < tilesOf(moving); ++i) sum += quantisers_[i];
    return sum / static_cast<int>(tilesOf(moving));
  }

  PicturePlan::Tick tickOf() const {
    PicturePlan::Tick tick;
    tick.changed = missing();
    tick.mostPieces = mostPieces;
    tick.pieces = tilesOf(tick.changed);
    tick.elapsed = pictures.empty() ? std::chrono::nanoseconds{} : interval;
    tick.untilKey = interval * untilKey;
    tick.bitRate = bitRate;
    tick.keyFrame = untilKey == 0;
    tellOfTheCoarse(tick);
    return tick;
  }

  void tellOfTheCoarse(PicturePlan::Tick& tick) const {
    int worst = 0;
    for (std::size_t i = 0; i < tiles; ++i) {
      if (stale_[i] == 0) worst = std::max(worst, quantisers_[i]);
    }
    coarseFrom_ = std::max(plan.bearable(), worst - PicturePlan::alike);
    int sum = 0;
    int count = 0;
    for (std::size_t i = 0; i < tiles; ++i) {
      if (stale_[i] != 0 || quantisers_[i] <= coarseFrom_) continue;
      ++count;
      sum += quantisers_[i];
    }
    tick.coarse = tile * static_cast<std::size_t>(count);
    if (count > 0) tick.coarseQuantiser = sum / count;
  }

  const Picture& take(const PicturePlan::Tick& tick) {
    PicturePlan::Decision decision = plan.next(tick);
    double bits = bitsOf(decision);
    while (const auto other = plan.instead(decision, bits)) {
      decision = *other;
      bits = bitsOf(decision);
    }
    if (decision.action == PicturePlan::Action::encode) encode(decision);
    untilKey = (decision.keyFrame ? keyInterval : untilKey) - 1;
    plan.sent(decision, bits, 68.0 - decision.quantiser);
    if (!pictures.empty()) waiting_ = std::max(waiting_ - rate() / picturesPerSecond, 0.0);
    waiting_ += bits;
    pictures.push_back({decision, bits, waiting_ / rate(), seen()});
    return pictures.back();
  }

  double seen() const {
    int sum = 0;
    for (const int quantiser : quantisers_) sum += quantiser;
    return sum / static_cast<double>(tiles);
  }

  bool isCoarse(std::size_t i) const { return stale_[i] == 0 && quantisers_[i] > coarseFrom_; }

  double bitsOf(const PicturePlan::Decision& decision) {
    constexpr double header = 88;
    const double whole = bitsAt(decision.quantiser);
    if (decision.action == PicturePlan::Action::repeatKey) return keyBits_;
    if (decision.action != PicturePlan::Action::encode) return header;
    if (decision.keyFrame) return keyBits_ = header + whole * tiles;
    double bits = header;
    std::size_t better = tilesOf(decision.refined);
    int known = 0;  // many tiles in a row are alike
    double finer = 0;
    for (std::size_t i = 0; i < tiles; ++i) {
      if (known != quantisers_[i]) finer = std::max(whole - bitsAt(quantisers_[i]), 0.0);
      known = quantisers_[i];
      if (stale_[i] != 0) bits += fresh * whole + (1 - fresh) * finer;
      if (!isCoarse(i) || better == 0) continue;
      bits += 1.12 * finer;
      --better;
    }
    return bits;
  }

  void encode(const PicturePlan::Decision& decision) {
    std::size_t better = tilesOf(decision.refined);
    for (std::size_t i = 0; i < tiles; ++i) {
      const bool refined = isCoarse(i) && better > 0;
      if (refined) --better;
      if (decision.keyFrame || stale_[i] != 0 || refined) quantisers_[i] = decision.quantiser;
      stale_[i] = 0;
    }
  }

  std::vector<int> quantisers_ = std::vector<int>(tiles, QuantiserRange::worstOfStandard);
  std::vector<char> stale_ = std::vector<char>(tiles, 1);  ///< changed, and not sent
  double waiting_ = 0;
  double keyBits_ = 0;
  mutable int coarseFrom_ = 0;  ///< what is coarser was told to be coarse
};

}  // namespace vesk::picture

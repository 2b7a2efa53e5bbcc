#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/linux/picture/BitCost.h"
#include "platform/linux/picture/ChangeCost.h"
#include "platform/linux/picture/LinkLoad.h"

namespace vesk::picture {

/// How each picture of a stream is to be sent, so that little work and few bits are spent on a
/// screen that hardly changes, the picture is good all the same, and a link of the asked rate is
/// never far behind.
///
/// While much changes, pictures are as fine as the bits until the next key frame allow for all of
/// them; where even the coarsest take more, some are left out. A small change is encoded well at
/// once. When nothing changes, a picture that is not as good as it may become is made better for as
/// long as there are bits, and from then on pictures are only repeated.
///
/// A key frame may not hold up the link for long either, so it is what limits a page that stands
/// still. Where a key frame of the size that it may have is good enough to be read, nothing becomes
/// better than it, and no key frame shows; it is repeated as it is for as long as nothing changes.
/// Where it is not, the picture is made good after each key frame anew.
///
/// Thread: one at a time. Fails: never.
class PicturePlan {
 public:
  static constexpr int worstQuantiser = BitCost::worstQuantiser;

  /// The quantiser of a good picture.
  static constexpr int goodQuantiser = 14;

  /// Up to this one letters are read with ease.
  static constexpr int readableQuantiser = 29;

  /// From this many decibels on a whole page is.
  static constexpr double readableQuality = 40.5;

  enum class Action {
    skip,       ///< the picture before, once more
    hold,       ///< the same, though the screen has changed: that comes with a later picture
    repeatKey,  ///< the last encoded picture, a key frame, once more
    encode,
  };

  /// What of a change is left where the rest is found elsewhere in the picture before.
  struct Moved {
    std::size_t changed = 0;  ///< macroblocks that are found nowhere
    std::size_t pieces = 0;   ///< in which these lie together
    int quantiser = 0;        ///< of what has moved, on average
    std::size_t coarse = 0;   ///< of what neither has moved nor changed, the coarsest
    int coarseQuantiser = 0;  ///< of these, on average
    std::size_t count = 0;    ///< macroblocks that have moved
  };

  struct Tick {
    std::size_t changed = 0;              ///< macroblocks that differ from the picture before
    std::size_t coarse = 0;               ///< of the others, the coarsest
    int coarseQuantiser = 0;              ///< of these, on average
    std::chrono::nanoseconds elapsed{};   ///< since the picture before
    std::chrono::nanoseconds untilKey{};  ///< until the next key frame is due
    std::int64_t bitRate = 0;             ///< bits per second
    bool keyFrame = false;                ///< the picture must be a key frame
    std::size_t pieces = 0;               ///< in which the changed macroblocks lie together
    std::size_t mostPieces = 0;           ///< that a picture can be put together from
    std::optional<Moved> moved{};         ///< much of what has changed has only moved
  };

  struct Decision {
    Action action = Action::encode;
    bool keyFrame = false;
    int quantiser = worstQuantiser;
    std::size_t refined = 0;                ///< as many coarse macroblocks are made better
    std::size_t macroblocks = 0;            ///< that the bits will be spent on
    double wantedBits = 0;                  ///< that it is meant to take at most
    double mostBits = 0;                    ///< a larger picture must not be sent
    int finest = BitCost::finestQuantiser;  ///< what it would be with all the bits there are
    int refinedFrom = 0;       ///< the quantiser of the refined ones before, on average
    bool searchesFar = false;  ///< for what has moved: no motion before it tells where
    bool composed = false;     ///< put together from pieces rather than encoded as a whole
    bool moves = false;        ///< and what has moved is not encoded
  };

  /// `mostBits` is what no picture may be larger than.
  PicturePlan(std::size_t macroblocks, double mostBits, const QuantiserRange& range)
      : macroblocks_(macroblocks), mostBits_(mostBits), range_(range) {}

  /// From now on, which must be before a key frame, another encoder has these quantisers: what the
  /// one before has made is not to be repeated.
  void setRange(const QuantiserRange& range) {
    range_ = range;
    keyRepeatable_ = false;
  }

  const QuantiserRange& range() const { return range_; }

  /// A macroblock of this quantiser is not worth being made better.
  int bearable() const;

  /// Macroblocks whose quantisers differ by less than this are made better together.
  static constexpr int alike = 5;

  /// So many of them, where they lie together, make one piece of a composed picture.
  static constexpr std::size_t composedPiece = 30;

  /// Up to this part of the picture pieces cost less than the whole.
  static constexpr std::size_t composedPart = 4;

  Decision next(const Tick& tick);

  /// What to do instead of a picture that came out too large: a coarser key frame; and instead of a
  /// key frame that came out much smaller than it may be: a finer one. Nothing when it is well, or
  /// no other can be made.
  std::optional<Decision> instead(const Decision& decision, double bits);

  /// Told after every decision how large the picture came out, and of a key frame how good: the
  /// signal-to-noise ratio of its luma in decibels.
  void sent(const Decision& decision, double bits, double quality);

 private:
  bool mayRepeatKey(int quantiser) const;
  bool mayKeepKey(int quantiser, double allowed) const;
  Decision keyFrame(const Tick& tick);
  double keptForKey(int quantiser, double seconds) const;
  /// The link has taken what was sent before.
  bool isIdle() const { return load_.waiting() <= share_; }
  /// The picture before was left out.
  bool isHeld() const { return heldInARow_ > 0; }
  const ChangeCost& costOfChanges() const { return isHeld() ? heldCost_ : busyCost_; }
  double drainingPart() const;
  bool lasts(const Tick& tick, int quantiser) const;
  bool mustBeLeftOut(const Tick& tick) const;
  int quantiserAmidChanges(const Tick& tick) const;
  Decision still(const Tick& tick) const;
  Decision change(const Tick& tick);
  Decision busy(const Tick& tick);
  std::optional<Decision> refinement(const Tick& tick) const;
  double refinementRoom() const;
  int refinementGoal(const Tick& tick) const;
  bool isTooLittle(const Tick& tick, std::size_t pieces, int goal) const;
  std::size_t refinedBesides(const Tick& tick, double bits) const;
  Decision encoded(int quantiser, std::size_t macroblocks, double wantedBits) const;
  bool composes(const Tick& tick, const Decision& decision) const;
  std::size_t refinedAtOnce(const Tick& tick) const;
  bool mayGoAlong(const Tick& tick) const;
  std::optional<Decision> betterAnew(const Tick& tick);
  double roomBesideKey(int quantiser) const;
  double allowedBesideMove(const Tick& tick) const;
  Decision moved(Tick tick);

  int settledQuantiser() const;
  double refinementBits(std::size_t macroblocks, int from, int to) const;
  double worstDelay() const;
  double lastRoom() const;
  void learn(const Decision& decision, double bits);
  void learnOfRefinement(const Decision& decision, double bits);

  /// Refined macroblocks of late, of one quantiser, of which nothing has been learnt yet.
  struct Refined {
    std::size_t macroblocks = 0;
    int quantiser = 0;
    double before = 0;  ///< bits that they had taken
    double bits = 0;    ///< that they have taken now
  };

  std::size_t macroblocks_;
  double mostBits_;
  QuantiserRange range_;
  double rate_ = 0;      ///< bits per second
  double untilKey_ = 0;  ///< seconds until the next key frame is due
  double lastBits_ = 0;  ///< of the last picture
  double share_ = 0;     ///< bits that the link has taken since the last picture, at most
  LinkLoad load_;
  BitCost keyCost_{130, 1};
  BitCost calmCost_{130, 0.5};
  ChangeCost busyCost_{{4, 0.3}};
  ChangeCost heldCost_{{45, 0.3}};  ///< the same after pictures that were left out
  int busyQuantiser_ = worstQuantiser;
  double reference_ = worstQuantiser;  ///< how good the last picture is for those that follow
  int keyQuantiser_ = worstQuantiser;  ///< of the last key frame
  double keyBits_ = 0;
  double keyQuality_ = 0;       ///< in decibels
  bool keyIsReadable_ = false;  ///< and so nothing is to become better than it
  int attempts_ = 0;            ///< that were made at the picture under way and are not to be sent
  bool keyAgain_ = false;       ///< the key frame under way is like the one before
  int stillTicks_ = 0;
  Refined refined_;
  int heldInARow_ = 0;          ///< pictures before this one that were left out
  bool calm_ = true;            ///< the last change was a small one
  bool moves_ = false;          ///< the last picture went along with a move
  bool goesOn_ = false;         ///< so did the one before
  bool keyRepeatable_ = false;  ///< the last encoded picture is a key frame, still valid
  /// Two key frames in a row must differ in their identifiers, so the second is encoded anew.
  bool afterKeyFrame_ = false;
  bool begun_ = false;
};

}  // namespace vesk::picture

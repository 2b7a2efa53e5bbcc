#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace vesk::picture {

/// How each picture of a stream is to be sent, so that little work and few bits are spent on a
/// screen that hardly changes, the picture is good all the same, and the bit rate is kept.
///
/// While much changes, the quantiser follows the bit rate. A small change is encoded at good
/// quality at once. When nothing changes, a picture that is not good yet is made so as fast as
/// there are bits to spare, and from then on pictures are only repeated. A key frame of a good
/// picture is good itself, and is repeated as it is for as long as nothing changes.
///
/// Thread: one at a time. Fails: never.
class PicturePlan {
 public:
  /// The quantiser of a good picture; finer ones look no better.
  static constexpr int goodQuantiser = 18;
  static constexpr int worstQuantiser = 51;

  enum class Action {
    skip,       ///< the picture before, once more
    repeatKey,  ///< the last encoded picture, a key frame, once more
    encode,
  };

  struct Tick {
    std::size_t changed = 0;             ///< macroblocks that differ from the picture before
    std::size_t coarse = 0;              ///< of the others, those that are not good yet
    std::chrono::nanoseconds elapsed{};  ///< since the picture before
    std::int64_t bitRate = 0;            ///< bits per second
    bool keyFrame = false;               ///< the picture must be a key frame
  };

  struct Decision {
    Action action = Action::encode;
    bool keyFrame = false;
    int quantiser = worstQuantiser;
    bool refine = true;           ///< coarse macroblocks too, not the changed ones only
    std::size_t macroblocks = 0;  ///< that the bits will be spent on
    std::size_t mostBits = 0;     ///< a larger picture must not be sent
  };

  explicit PicturePlan(std::size_t macroblocks) : macroblocks_(macroblocks) {}

  Decision next(const Tick& tick);

  /// What to do instead of a picture that came out too large: a key frame, coarser by that much.
  /// Nothing when no coarser one can be made.
  static std::optional<Decision> smaller(Decision decision, std::size_t bits,
                                         std::size_t macroblocks);

  /// Told after every decision how large the picture came out.
  void sent(const Decision& decision, std::size_t bits);

 private:
  /// Bits that one macroblock takes at good quality, learnt as the stream goes on.
  class Cost {
   public:
    explicit Cost(double first) : each_(first) {}
    double of(std::size_t macroblocks) const { return each_ * static_cast<double>(macroblocks); }
    void learn(const Decision& decision, double bits);

   private:
    double each_;
  };

  void earn(const Tick& tick);
  Decision keyFrame(const Tick& tick);
  Decision still(const Tick& tick) const;
  Decision change(const Tick& tick);
  Decision busy(const Tick& tick);

  std::size_t macroblocks_;
  double rate_ = 0;    ///< bits per second
  double share_ = 0;   ///< bits that the time since the last picture has brought
  double credit_ = 0;  ///< bits that were not spent yet; below zero while in debt
  double limit_ = 0;   ///< the most that is saved up
  Cost keyCost_{350};
  Cost calmCost_{350};
  Cost busyCost_{150};
  int coarseQuantiser_ = worstQuantiser;  ///< of what is not good yet
  int busyQuantiser_ = worstQuantiser;
  std::chrono::nanoseconds sinceRefined_{};
  int stillTicks_ = 0;
  bool calm_ = true;            ///< the last change was a small one
  bool keyRepeatable_ = false;  ///< the last encoded picture is a good key frame, still valid
  /// Two key frames in a row must differ in their identifiers, so the second is encoded anew.
  bool afterKeyFrame_ = false;
  bool begun_ = false;
};

}  // namespace vesk::picture

#include "platform/linux/picture/MacroblockMarks.h"

#include <algorithm>
#include <array>

#include "platform/linux/picture/X264Encoder.h"

namespace vesk::picture {
namespace {

constexpr std::uint8_t worstQuantiser = PicturePlan::worstQuantiser;

/// Some of many macroblocks, in short rows spread evenly over the picture: what they take is then
/// as much of what all take as they are of all.
class Portion {
 public:
  Portion(std::size_t some, std::size_t all, std::size_t rowLength)
      : some_(some), all_(all), rowLength_(rowLength) {}

  bool next() {
    if (seen_++ % rowLength_ == 0) {
      owed_ += some_;
      taking_ = all_ > 0 && owed_ >= all_;
      if (taking_) owed_ -= all_;
    }
    return taking_;
  }

 private:
  std::size_t some_;
  std::size_t all_;
  std::size_t rowLength_;
  std::size_t seen_ = 0;
  std::size_t owed_ = 0;
  bool taking_ = false;
};

}  // namespace

MacroblockMarks::MacroblockMarks(int across, int down)
    : across_(across),
      unchanged_(static_cast<std::size_t>(across) * static_cast<std::size_t>(down)),
      same_(unchanged_.size()),
      quantisers_(unchanged_.size(), worstQuantiser) {}

/// Of what has not changed, the coarsest macroblocks are told of, and those that are much like
/// them.
void MacroblockMarks::compare(const Nv12Image& image, Nv12Image::Sequence before, int bearable,
                              PicturePlan::Tick& tick) {
  std::array<std::size_t, worstQuantiser + 1> count{};
  for (std::size_t i = 0; i < same_.size(); ++i) {
    const bool same = image.changedAt[i] <= before;
    same_[i] = same ? 1 : 0;
    if (same) {
      ++count[quantisers_[i]];
    } else {
      ++tick.changed;
    }
  }
  if (tick.changed > 0) tick.pieces = composed::changedRuns(same_, across_).size();
  int worst = worstQuantiser;
  while (worst > bearable && count[static_cast<std::size_t>(worst)] == 0) --worst;
  coarseFrom_ = std::max(bearable, worst - PicturePlan::alike) + 1;
  std::size_t sum = 0;
  for (int quantiser = coarseFrom_; quantiser <= worst; ++quantiser) {
    const std::size_t here = count[static_cast<std::size_t>(quantiser)];
    tick.coarse += here;
    sum += here * static_cast<std::size_t>(quantiser);
  }
  coarse_ = tick.coarse;
  if (tick.coarse > 0) tick.coarseQuantiser = static_cast<int>(sum / tick.coarse);
}

bool MacroblockMarks::mark(const PicturePlan::Decision& decision) {
  constexpr std::size_t rowLength = 6;
  Portion portion(decision.refined, coarse_,
                  decision.composed ? PicturePlan::composedPiece : rowLength);
  bool keepsCoarse = false;
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    const bool changed = same_[i] == 0;
    const bool coarse = !changed && quantisers_[i] >= coarseFrom_;
    const bool better = coarse && portion.next() && quantisers_[i] > decision.quantiser;
    const bool encoded = decision.keyFrame || changed || better;
    unchanged_[i] = encoded ? 0 : X264Encoder::unchangedMark();
    if (encoded) {
      quantisers_[i] = static_cast<std::uint8_t>(decision.quantiser);
    } else if (quantisers_[i] > decision.quantiser) {
      keepsCoarse = true;
    }
  }
  return keepsCoarse;
}

}  // namespace vesk::picture

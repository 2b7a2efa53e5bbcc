#include "platform/linux/picture/MacroblockMarks.h"

#include <algorithm>
#include <array>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/movedQuantisers.h"

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
      quantisers_(unchanged_.size(), worstQuantiser),
      faded_(unchanged_.size()) {}

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
    const bool coarse = !changed && isCoarse(i);
    const bool better = coarse && portion.next() && quantisers_[i] > decision.quantiser;
    const bool encoded = decision.keyFrame || changed || better;
    unchanged_[i] = encoded ? 0 : X264Encoder::unchangedMark();
    if (encoded) {
      quantisers_[i] = static_cast<std::uint8_t>(decision.quantiser);
      faded_[i] = 0;
    } else if (quantisers_[i] > decision.quantiser) {
      keepsCoarse = true;
    }
  }
  return keepsCoarse;
}

PicturePlan::Moved MacroblockMarks::compare(const composed::FoundMove& move) {
  movedQuantisers_ = composed::movedQuantisers(quantisers_, move.moved);
  PicturePlan::Moved told;
  told.changed = move.leftCount;
  told.count = move.movedCount;
  std::size_t ofMoved = 0;
  std::size_t ofCoarse = 0;
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    unchanged_[i] = move.left[i] != 0 ? 0 : X264Encoder::unchangedMark();
    if (move.moved.marks[i] != 0) {
      ofMoved += movedQuantisers_[i];
    } else if (isCoarse(i) && move.left[i] == 0) {
      ofCoarse += quantisers_[i];
      ++told.coarse;
    }
  }
  told.pieces = windows(move).size();
  if (move.movedCount > 0) told.quantiser = static_cast<int>(ofMoved / move.movedCount);
  if (told.coarse > 0) told.coarseQuantiser = static_cast<int>(ofCoarse / told.coarse);
  movedCoarse_ = told.coarse;
  return told;
}

void MacroblockMarks::mark(const PicturePlan::Decision& decision, const composed::FoundMove& move) {
  // Colours that have faded are mended before anything that is a little coarse.
  constexpr std::uint8_t fadedQuantiser = 40;
  Portion portion(decision.refined, movedCoarse_, PicturePlan::composedPiece);
  faded_ = move.faded;
  faded_.resize(quantisers_.size());
  for (std::size_t i = 0; i < unchanged_.size(); ++i) {
    const bool left = move.left[i] != 0;
    const bool coarse = isCoarse(i) && !left && move.moved.marks[i] == 0;
    const bool better = coarse && portion.next() && quantisers_[i] > decision.quantiser;
    unchanged_[i] = left || better ? 0 : X264Encoder::unchangedMark();
    if (left || better) {
      movedQuantisers_[i] = static_cast<std::uint8_t>(decision.quantiser);
      faded_[i] = 0;
    } else if (faded_[i] != 0) {
      movedQuantisers_[i] = std::max(movedQuantisers_[i], fadedQuantiser);
    }
  }
  quantisers_ = movedQuantisers_;
}

std::vector<composed::Run> MacroblockMarks::windows() const {
  return composed::windowsOver(composed::changedRuns(unchanged_, across_), across_);
}

std::vector<composed::Run> MacroblockMarks::windows(const composed::FoundMove& move) const {
  return composed::windowsBeside(unchanged_, move.moved.marks, across_);
}

}  // namespace vesk::picture

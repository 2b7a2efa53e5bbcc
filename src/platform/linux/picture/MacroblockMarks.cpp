#include "platform/linux/picture/MacroblockMarks.h"

#include <algorithm>
#include <span>

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
      faded_(unchanged_.size()) {
  recount();
}

/// Of what has not changed, the coarsest macroblocks are told of, and those that are much like
/// them.
void MacroblockMarks::compare(const Nv12Image& image, Nv12Image::Sequence before, int bearable,
                              PicturePlan::Tick& tick) {
  findChanges(image, before);
  auto count = counts_;
  for (const auto at : changed_) --count[quantisers_[at]];
  tick.changed = changed_.size();
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

void MacroblockMarks::findChanges(const Nv12Image& image, Nv12Image::Sequence before) {
  changed_.clear();
  std::ranges::fill(same_, X264Encoder::unchangedMark());
  if (image.sequence <= before) return;
  for (std::size_t i = 0; i < same_.size(); ++i) {
    if (image.changedAt[i] <= before) continue;
    same_[i] = 0;
    changed_.push_back(i);
  }
}

bool MacroblockMarks::mark(const PicturePlan::Decision& decision) {
  // What is encoded becomes as fine as the picture.
  const auto encode = [&](std::size_t at) {
    --counts_[quantisers_[at]];
    quantisers_[at] = static_cast<std::uint8_t>(decision.quantiser);
    ++counts_[quantisers_[at]];
    faded_[at] = 0;
  };
  unchanged_ = same_;
  for (const auto at : changed_) encode(at);
  if (decision.keyFrame || decision.refined > 0) {
    constexpr std::size_t rowLength = 6;
    Portion portion(decision.refined, coarse_,
                    decision.composed ? PicturePlan::composedPiece : rowLength);
    for (std::size_t i = 0; i < unchanged_.size(); ++i) {
      if (same_[i] == 0) continue;
      const bool better = isCoarse(i) && portion.next() && quantisers_[i] > decision.quantiser;
      if (!decision.keyFrame && !better) continue;
      unchanged_[i] = 0;
      encode(i);
    }
  }
  return std::ranges::any_of(
      std::span(counts_).subspan(static_cast<std::size_t>(decision.quantiser) + 1),
      [](auto count) { return count > 0; });
}

/// How many have each of the quantisers.
void MacroblockMarks::recount() {
  counts_.fill(0);
  for (const auto quantiser : quantisers_) ++counts_[quantiser];
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
  recount();
}

std::vector<composed::Run> MacroblockMarks::windows() const {
  return composed::windowsOver(composed::changedRuns(unchanged_, across_), across_);
}

std::vector<composed::Run> MacroblockMarks::windows(const composed::FoundMove& move) const {
  return composed::windowsBeside(unchanged_, move.moved.marks, across_);
}

}  // namespace vesk::picture

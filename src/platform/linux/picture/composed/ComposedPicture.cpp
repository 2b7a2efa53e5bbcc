#include "platform/linux/picture/composed/ComposedPicture.h"

#include <algorithm>

#include "platform/linux/picture/composed/moveSlice.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {

ComposedPicture::ComposedPicture(const h264::SliceSyntax& syntax, std::uint32_t frameNumber,
                                 std::uint32_t macroblocks, const MovedBlocks* moved)
    : syntax_(syntax), frameNumber_(frameNumber), macroblocks_(macroblocks), moved_(moved) {}

void ComposedPicture::add(const Slice& slice, const h264::SliceData& data) {
  skipTo(slice.first);
  end();
  begin(slice.first, data.quantiser);
  slice_.copy(data.raw, data.from, data.to);
  next_ = slice.first + slice.count;
  takesSkipped_ = slice.endsEncoded;
}

h264::Bytes ComposedPicture::finished() {
  skipTo(macroblocks_);
  end();
  return std::move(units_);
}

/// A number of skipped macroblocks stands before each that is encoded, and at the end of a slice if
/// there are any: behind such a number there is no room for another.
void ComposedPicture::skipTo(std::uint32_t macroblock) {
  if (macroblock == next_) return;
  const bool moves = anyMoves(next_, macroblock);
  if (moves || !takesSkipped_) {
    end();
    begin(next_, syntax_.initialQuantiser);
  }
  if (moves) {
    writeMoveSlice(slice_, *moved_, static_cast<int>(next_), static_cast<int>(macroblock) - 1);
  } else {
    slice_.ue(macroblock - next_);
  }
  next_ = macroblock;
  takesSkipped_ = false;
}

bool ComposedPicture::anyMoves(std::uint32_t first, std::uint32_t end) const {
  if (moved_ == nullptr) return false;
  const auto begin = moved_->marks.begin();
  return std::any_of(begin + first, begin + end, [](auto mark) { return mark != 0; });
}

void ComposedPicture::begin(std::uint32_t first, int quantiser) {
  h264::writeSliceHeader(slice_, syntax_, {first, frameNumber_, quantiser});
  begun_ = true;
}

void ComposedPicture::end() {
  if (begun_) h264::appendUnit(units_, h264::escaped(slice_.finished()));
  begun_ = false;
  takesSkipped_ = false;
}

}  // namespace vesk::picture::composed

#include "platform/linux/picture/composed/ComposedPicture.h"

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {

ComposedPicture::ComposedPicture(const h264::SliceSyntax& syntax, std::uint32_t frameNumber,
                                 std::uint32_t macroblocks)
    : syntax_(syntax), frameNumber_(frameNumber), macroblocks_(macroblocks) {}

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
  if (!takesSkipped_) {
    end();
    begin(next_, syntax_.initialQuantiser);
  }
  slice_.ue(macroblock - next_);
  next_ = macroblock;
  takesSkipped_ = false;
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

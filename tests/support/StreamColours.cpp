#include "support/StreamColours.h"

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::testing {
namespace {

using picture::h264::BitReader;

bool flag(BitReader& reader) { return reader.bits(1) == 1U; }

void skipToUsability(BitReader& reader) {
  reader.bits(32);                     // kind of unit, profile, level
  reader.ue();                         // its identifier
  reader.ue();                         // width of a frame number
  if (reader.ue() == 0U) reader.ue();  // picture order
  reader.ue();                         // reference frames
  reader.bits(1);                      // gaps in frame numbers
  reader.ue();                         // width
  reader.ue();                         // height
  if (!flag(reader)) reader.bits(1);   // frames only
  reader.bits(1);                      // motion of B slices
  if (flag(reader)) {
    for (int edge = 0; edge < 4; ++edge) reader.ue();
  }
}

}  // namespace

std::optional<StreamColours> streamColours(picture::h264::ByteView sequenceSet) {
  const auto raw = picture::h264::unescaped(sequenceSet);
  BitReader reader(raw);
  skipToUsability(reader);
  if (!flag(reader)) return std::nullopt;
  StreamColours colours;
  constexpr std::uint32_t ownRatio = 255;
  if (flag(reader) && reader.bits(8) == ownRatio) reader.bits(32);
  if (flag(reader)) reader.bits(1);  // overscan
  if (flag(reader)) {
    reader.bits(3);  // system of television
    colours.isFullRange = flag(reader);
    if (flag(reader)) {
      colours.primaries = reader.bits(8).value_or(0);
      colours.transfer = reader.bits(8).value_or(0);
      colours.matrix = reader.bits(8).value_or(0);
    }
  }
  if (flag(reader)) {
    colours.chromaPlace = reader.ue().value_or(0);
    if (reader.ue() != colours.chromaPlace) return std::nullopt;
  }
  if (flag(reader)) {
    const auto unit = reader.bits(32).value_or(0);
    // A picture has two fields, each of which counts.
    colours.picturesPerSecond = reader.bits(32).value_or(0) / 2.0 / unit;
  }
  return colours;
}

}  // namespace vesk::testing

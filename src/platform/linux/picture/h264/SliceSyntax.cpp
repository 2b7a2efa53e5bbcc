#include "platform/linux/picture/h264/SliceSyntax.h"

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264 {
namespace {

constexpr std::uint32_t baselineProfile = 66;
constexpr std::uint32_t outputInDecodingOrder = 2;

/// The width of a frame number in bits, from the sequence parameter set.
std::optional<unsigned> frameNumberBits(ByteView sequenceSet) {
  const Bytes raw = unescaped(sequenceSet);
  BitReader reader(raw);
  reader.bits(8);
  if (reader.bits(8) != baselineProfile) return std::nullopt;
  reader.bits(16);  // constraints and level
  reader.ue();      // its identifier
  const auto above4 = reader.ue();
  if (!above4 || *above4 > 12) return std::nullopt;
  if (reader.ue() != outputInDecodingOrder) return std::nullopt;
  if (reader.ue() != 1U) return std::nullopt;     // reference frames
  reader.bits(1);                                 // gaps in frame numbers
  reader.ue();                                    // width
  reader.ue();                                    // height
  if (reader.bits(1) != 1U) return std::nullopt;  // frames only
  return 4 + *above4;
}

}  // namespace

std::optional<SliceSyntax> sliceSyntax(ByteView sequenceSet, ByteView pictureSet) {
  SliceSyntax syntax;
  const auto width = frameNumberBits(sequenceSet);
  if (!width) return std::nullopt;
  syntax.frameNumberBits = *width;

  const Bytes raw = unescaped(pictureSet);
  BitReader reader(raw);
  reader.bits(8);
  const auto id = reader.ue();
  if (!id) return std::nullopt;
  syntax.pictureParameterSet = *id;
  reader.ue();                                    // the sequence parameter set
  if (reader.bits(1) != 0U) return std::nullopt;  // arithmetic coding
  reader.bits(1);                                 // picture order in the slices
  if (reader.ue() != 0U) return std::nullopt;     // slice groups
  syntax.oneReferenceByDefault = reader.ue() == 0U;
  reader.ue();                                    // references of the second list
  if (reader.bits(1) != 0U) return std::nullopt;  // weighted prediction
  reader.bits(2);                                 // the same of B slices
  const auto quantiser = reader.se();
  reader.se();  // the same of other kinds of slices
  const auto chromaOffset = reader.se();
  const auto deblocking = reader.bits(1);
  const auto constrained = reader.bits(1);
  if (!quantiser || *quantiser < -26 || *quantiser > 25) return std::nullopt;
  if (!chromaOffset || !deblocking || !constrained) return std::nullopt;
  if (reader.bits(1) != 0U) return std::nullopt;  // redundant pictures
  syntax.initialQuantiser += *quantiser;
  syntax.chromaOffset = *chromaOffset;
  syntax.deblockingControl = *deblocking == 1;
  syntax.constrainedIntra = *constrained == 1;
  return syntax;
}

std::optional<SliceSyntax> sliceSyntax(std::span<const Bytes> sets) {
  return sets.size() == 2 ? sliceSyntax(sets[0], sets[1]) : std::nullopt;
}

}  // namespace vesk::picture::h264

#include "platform/linux/picture/h264/slice.h"

#include <bit>

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264 {
namespace {

constexpr std::uint32_t referenceSlice = 0x41;
constexpr std::uint32_t thisSliceIsP = 0;
constexpr std::uint32_t everySliceIsP = 5;
constexpr std::uint32_t nothingToSmooth = 1;

/// Where the stop bit stands: the last one that is set.
std::optional<std::size_t> stopBit(ByteView raw) {
  for (std::size_t i = raw.size(); i-- > 0;) {
    const auto byte = std::to_integer<unsigned>(raw[i]);
    if (byte != 0) return i * 8 + 7 - static_cast<std::size_t>(std::countr_zero(byte));
  }
  return std::nullopt;
}

/// Reads from behind the type of the slice up to its quantiser. Nothing where it is not plain.
std::optional<int> quantiserOf(BitReader& reader, const SliceSyntax& syntax) {
  if (reader.ue() != syntax.pictureParameterSet) return std::nullopt;
  reader.bits(syntax.frameNumberBits);
  const auto otherReferences = reader.bits(1);
  if (otherReferences == 1U && reader.ue() != 0U) return std::nullopt;
  if (otherReferences == 0U && !syntax.oneReferenceByDefault) return std::nullopt;
  if (reader.bits(1) != 0U) return std::nullopt;  // the list of references as it is
  if (reader.bits(1) != 0U) return std::nullopt;  // the oldest reference makes room
  const auto change = reader.se();
  if (!change || *change < -51 || *change > 51) return std::nullopt;
  if (!syntax.deblockingControl || reader.ue() != nothingToSmooth) return std::nullopt;
  return syntax.initialQuantiser + *change;
}

}  // namespace

void writeSliceHeader(BitWriter& writer, const SliceSyntax& syntax, const SliceHeader& header) {
  writer.bits(referenceSlice, 8);
  writer.ue(header.firstMacroblock);
  writer.ue(everySliceIsP);
  writer.ue(syntax.pictureParameterSet);
  writer.bits(header.frameNumber, syntax.frameNumberBits);
  if (syntax.oneReferenceByDefault) {
    writer.bits(0, 1);
  } else {
    writer.bits(1, 1);
    writer.ue(0);
  }
  writer.bits(0, 1);  // the list of references as it is
  writer.bits(0, 1);  // the oldest reference makes room
  writer.se(header.quantiser - syntax.initialQuantiser);
  if (syntax.deblockingControl) writer.ue(nothingToSmooth);
}

std::optional<SliceData> sliceData(ByteView unit, const SliceSyntax& syntax) {
  SliceData data{.raw = unescaped(unit)};
  BitReader reader(data.raw);
  if (reader.bits(8) != referenceSlice) return std::nullopt;
  reader.ue();  // first macroblock
  constexpr std::uint32_t moreThanAny = 10;
  const std::uint32_t type = reader.ue().value_or(moreThanAny);
  if (type != thisSliceIsP && type != everySliceIsP) return std::nullopt;
  const auto quantiser = quantiserOf(reader, syntax);
  const auto end = stopBit(data.raw);
  if (!quantiser || !end || *end < reader.position()) return std::nullopt;
  data.quantiser = *quantiser;
  data.from = reader.position();
  data.to = *end;
  return data;
}

}  // namespace vesk::picture::h264

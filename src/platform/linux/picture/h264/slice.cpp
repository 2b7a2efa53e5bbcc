#include "platform/linux/picture/h264/slice.h"

#include <bit>

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264 {
namespace {

constexpr std::uint32_t referenceSlice = 0x41;
constexpr std::uint32_t keySlice = 0x65;
constexpr std::uint32_t thisSliceIsP = 0;
constexpr std::uint32_t thisSliceIsI = 2;
/// Added to a type: every slice of the picture has it.
constexpr std::uint32_t everySlice = 5;
constexpr std::uint32_t nothingToSmooth = 1;

/// Where the stop bit stands: the last one that is set.
std::optional<std::size_t> stopBit(ByteView raw) {
  for (std::size_t i = raw.size(); i-- > 0;) {
    const auto byte = std::to_integer<unsigned>(raw[i]);
    if (byte != 0) return i * 8 + 7 - static_cast<std::size_t>(std::countr_zero(byte));
  }
  return std::nullopt;
}

/// Reads what a P slice says of its references. False where they are not the plain ones.
bool refersPlainly(BitReader& reader, const SliceSyntax& syntax) {
  const auto otherReferences = reader.bits(1);
  if (otherReferences == 1U && reader.ue() != 0U) return false;
  if (otherReferences == 0U && !syntax.oneReferenceByDefault) return false;
  if (reader.bits(1) != 0U) return false;  // the list of references as it is
  return reader.bits(1) == 0U;             // the oldest reference makes room
}

/// Reads what a slice of a key frame says of the pictures before. False where it keeps any.
bool beginsAnew(BitReader& reader) {
  reader.ue();  // identifier
  return reader.bits(2) == 0U;
}

/// Reads from behind the type of the slice up to its quantiser. Nothing where it is not plain.
std::optional<int> quantiserOf(BitReader& reader, const SliceSyntax& syntax, bool isKey) {
  if (reader.ue() != syntax.pictureParameterSet) return std::nullopt;
  reader.bits(syntax.frameNumberBits);
  if (!(isKey ? beginsAnew(reader) : refersPlainly(reader, syntax))) return std::nullopt;
  const auto change = reader.se();
  if (!change || *change < -51 || *change > 51) return std::nullopt;
  if (!syntax.deblockingControl || reader.ue() != nothingToSmooth) return std::nullopt;
  return syntax.initialQuantiser + *change;
}

std::optional<SliceData> dataOf(ByteView unit, const SliceSyntax& syntax, bool isKey) {
  SliceData data{.raw = unescaped(unit)};
  BitReader reader(data.raw);
  if (reader.bits(8) != (isKey ? keySlice : referenceSlice)) return std::nullopt;
  reader.ue();  // first macroblock
  const std::uint32_t wanted = isKey ? thisSliceIsI : thisSliceIsP;
  const auto type = reader.ue();
  if (type != wanted && type != wanted + everySlice) return std::nullopt;
  const auto quantiser = quantiserOf(reader, syntax, isKey);
  const auto end = stopBit(data.raw);
  if (!quantiser || !end || *end < reader.position()) return std::nullopt;
  data.quantiser = *quantiser;
  data.from = reader.position();
  data.to = *end;
  return data;
}

}  // namespace

void writeSliceHeader(BitWriter& writer, const SliceSyntax& syntax, const SliceHeader& header) {
  const bool isKey = header.keyIdentifier.has_value();
  writer.bits(isKey ? keySlice : referenceSlice, 8);
  writer.ue(header.firstMacroblock);
  writer.ue((isKey ? thisSliceIsI : thisSliceIsP) + everySlice);
  writer.ue(syntax.pictureParameterSet);
  writer.bits(isKey ? 0 : header.frameNumber, syntax.frameNumberBits);
  if (isKey) {
    writer.ue(*header.keyIdentifier);
    writer.bits(0, 2);  // pictures before are shown, and none is kept
  } else {
    if (syntax.oneReferenceByDefault) {
      writer.bits(0, 1);
    } else {
      writer.bits(1, 1);
      writer.ue(0);
    }
    writer.bits(0, 1);  // the list of references as it is
    writer.bits(0, 1);  // the oldest reference makes room
  }
  writer.se(header.quantiser - syntax.initialQuantiser);
  if (syntax.deblockingControl) writer.ue(nothingToSmooth);
}

std::optional<SliceData> sliceData(ByteView unit, const SliceSyntax& syntax) {
  return dataOf(unit, syntax, /*isKey=*/false);
}

std::optional<SliceData> keySliceData(ByteView unit, const SliceSyntax& syntax) {
  return dataOf(unit, syntax, /*isKey=*/true);
}

}  // namespace vesk::picture::h264

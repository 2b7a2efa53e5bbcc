#include "platform/linux/picture/h264/frameNumber.h"

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264 {
namespace {

constexpr unsigned nonKeySlice = 1;

void overwrite(Bytes& bytes, std::size_t position, std::uint32_t value, unsigned count) {
  while (count > 0) {
    --count;
    const auto mask = static_cast<std::byte>(0x80U >> position % 8);
    auto& byte = bytes[position / 8];
    byte = (value >> count & 1U) != 0 ? byte | mask : byte & ~mask;
    ++position;
  }
}

}  // namespace

Bytes withFrameNumberMoved(ByteView unit, const SliceSyntax& syntax, std::uint32_t added) {
  Bytes same(unit.begin(), unit.end());
  const std::uint32_t mask = (1U << syntax.frameNumberBits) - 1;
  if (unit.empty() || (added & mask) == 0) return same;
  if ((std::to_integer<unsigned>(unit.front()) & 0x1fU) != nonKeySlice) return same;

  Bytes raw = unescaped(unit);
  BitReader reader(raw);
  reader.bits(8);
  reader.ue();  // first macroblock
  reader.ue();  // slice type
  reader.ue();  // picture parameter set
  const std::size_t position = reader.position();
  const auto number = reader.bits(syntax.frameNumberBits);
  if (!number) return same;
  overwrite(raw, position, (*number + added) & mask, syntax.frameNumberBits);
  return escaped(raw);
}

}  // namespace vesk::picture::h264

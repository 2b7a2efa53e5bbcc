#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::h264 {
namespace {

constexpr std::size_t lengthSize = 4;

}  // namespace

void appendUnit(Bytes& units, ByteView unit) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    units.push_back(static_cast<std::byte>(unit.size() >> shift & 0xff));
  }
  units.insert(units.end(), unit.begin(), unit.end());
}

std::vector<ByteView> unitsOf(ByteView units) {
  std::vector<ByteView> all;
  while (units.size() >= lengthSize) {
    std::size_t length = 0;
    for (const std::byte byte : units.first(lengthSize)) {
      length = length << 8 | std::to_integer<std::size_t>(byte);
    }
    units = units.subspan(lengthSize);
    if (length > units.size()) break;
    all.push_back(units.first(length));
    units = units.subspan(length);
  }
  return all;
}

}  // namespace vesk::picture::h264

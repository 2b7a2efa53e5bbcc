#include "platform/linux/picture/h264/emulationPrevention.h"

#include <algorithm>

namespace vesk::picture::h264 {
namespace {

constexpr std::byte inserted{3};

}  // namespace

Bytes unescaped(ByteView unit) {
  Bytes raw;
  raw.reserve(unit.size());
  int zeros = 0;
  for (const std::byte byte : unit) {
    if (zeros == 2 && byte == inserted) {
      zeros = 0;
      continue;
    }
    zeros = byte == std::byte{0} ? std::min(zeros + 1, 2) : 0;
    raw.push_back(byte);
  }
  return raw;
}

Bytes escaped(ByteView raw) {
  Bytes unit;
  unit.reserve(raw.size() + raw.size() / 64 + 4);
  int zeros = 0;
  for (const std::byte byte : raw) {
    if (zeros == 2 && byte <= inserted) {
      unit.push_back(inserted);
      zeros = 0;
    }
    zeros = byte == std::byte{0} ? zeros + 1 : 0;
    unit.push_back(byte);
  }
  return unit;
}

}  // namespace vesk::picture::h264

#include "capture/isKeyFrame.h"

namespace vesk {

bool isKeyFrame(ByteView accessUnit) {
  constexpr std::size_t startCodeSize = 4;
  constexpr unsigned typeMask = 0x1F;
  constexpr unsigned idrPicture = 5;
  constexpr unsigned sequenceParameterSet = 7;
  if (accessUnit.size() <= startCodeSize) return false;
  const unsigned type = std::to_integer<unsigned>(accessUnit[startCodeSize]) & typeMask;
  return type == idrPicture || type == sequenceParameterSet;
}

}  // namespace vesk

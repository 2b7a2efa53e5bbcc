#include "agent/KeyPicture.h"

#include <algorithm>

namespace vesk::agent {

bool isKeyPicture(ByteView accessUnit) {
  constexpr std::byte typeMask{0x1f};
  constexpr std::byte keySlice{5};
  // The shorter start code is the end of the longer one, and neither occurs inside a NAL unit.
  for (auto at = accessUnit.begin();;) {
    at = std::find(at, accessUnit.end(), std::byte{1});
    if (accessUnit.end() - at < 2) return false;
    const bool isStartCode =
        at - accessUnit.begin() >= 2 && at[-1] == std::byte{0} && at[-2] == std::byte{0};
    if (isStartCode && (at[1] & typeMask) == keySlice) return true;
    ++at;
  }
}

}  // namespace vesk::agent

#pragma once

#include "link/Frame.h"

namespace vesk::agent {

/// Whether an Annex B access unit is a key frame: whether it has a NAL unit of type 5.
bool isKeyPicture(ByteView accessUnit);

}  // namespace vesk::agent

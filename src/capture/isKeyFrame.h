#pragma once

#include "link/Frame.h"

namespace vesk {

/// Whether a decoder can begin with this access unit: it starts with a sequence parameter set or is
/// an IDR picture. The form is that of ITU-T H.264, Annex B, with start codes of four bytes.
bool isKeyFrame(ByteView accessUnit);

}  // namespace vesk

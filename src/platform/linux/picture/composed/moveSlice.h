#pragma once

#include "platform/linux/picture/composed/MovedBlocks.h"
#include "platform/linux/picture/h264/bits.h"

namespace vesk::picture::composed {

/// Writes what follows the header of a P slice that reaches from the macroblock `first` to the
/// macroblock `last`, in which those that have moved do so and all others stay as they are. Nothing
/// is left over to be corrected.
///
/// The stream codes its bits without arithmetic and has one reference frame. The ones that have
/// moved come from inside the picture.
void writeMoveSlice(h264::BitWriter& writer, const MovedBlocks& moved, int first, int last);

}  // namespace vesk::picture::composed

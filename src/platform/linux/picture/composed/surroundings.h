#pragma once

#include "platform/linux/picture/Planes.h"

namespace vesk::picture::composed {

/// What an encoder keeps around a picture that others refer to, in pixels of the luma on each side
/// of the whole macroblocks: what the pixels at the edge have been repeated into.
inline constexpr int borderWidth = 32;

/// A size in whole macroblocks.
struct Extent {
  int across = 0;
  int down = 0;
};

/// Copies macroblocks, and with `border` pixels around them.
void copyMacroblocks(const PlanesView& from, const Planes& to, const Extent& extent,
                     int border = 0);

/// Repeats the pixels at the edge of a picture into its border once more, after macroblocks at the
/// edge have been written to.
void restoreBorder(const Planes& picture, const Extent& extent);

}  // namespace vesk::picture::composed

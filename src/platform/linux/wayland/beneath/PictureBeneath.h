#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/wayland/beneath/CoveredRun.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/beneath/Pixels.h"

namespace vesk::wayland::beneath {

/// Takes own surfaces out of the pictures of an output: their blending is undone, and what cannot
/// be made out again is painted as its surroundings suggest.
///
/// A picture may look otherwise than the surfaces' blending explains, because the compositor fades
/// them or changes all colours. Undoing would make noise of that, and so a surface that does not
/// look blended counts as one beneath which nothing can be made out.
///
/// Thread: one at a time. Owns: what it has worked out of the surfaces, from one change of theirs
/// to the next. Fails: never.
class PictureBeneath {
 public:
  explicit PictureBeneath(DisplayId output) : output_(output) {}

  /// `pixels` show these surfaces. Adds to `changed`, where the output has changed since the last
  /// picture, what of the picture beneath has changed besides.
  void uncover(const Pixels& pixels, const OwnSurfaces::Shown& shown,
               std::vector<PixelRect>& changed);

 private:
  struct Cover {
    PixelRect area;  ///< around all runs
    std::vector<CoveredRun> runs;
    OwnSurface surface;  ///< keeps what the runs point to
    bool canBeUndone = false;
  };

  void prepare(const Pixels& pixels, const OwnSurfaces::Shown& shown);
  static Cover coverOf(const OwnSurface& surface, const Pixels& pixels);
  bool looksBlended(const Pixels& pixels, const Cover& cover) const;
  void tellOfFilled(std::vector<PixelRect> before, std::vector<PixelRect>& changed) const;

  DisplayId output_;
  std::optional<std::uint64_t> generation_;
  std::vector<Cover> covers_;      ///< from the topmost to the lowest
  std::vector<PixelRect> filled_;  ///< in the last picture
};

}  // namespace vesk::wayland::beneath

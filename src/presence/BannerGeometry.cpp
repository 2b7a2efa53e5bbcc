#include "presence/BannerGeometry.h"

#include <algorithm>

namespace vesk {

Rect stripFrame(const Rect& screen) {
  constexpr double height = 26;
  constexpr double shareOfTheScreen = 0.6;
  constexpr double widest = 560;
  const double width = std::min(shareOfTheScreen * screen.width, widest);
  const double middle = screen.origin.x + screen.width / 2;
  return {{middle - width / 2, screen.origin.y}, width, height};
}

Rect stripLabelFrame(const Rect& strip) {
  constexpr double margin = 8;
  constexpr double height = 18;
  return {{margin, (strip.height - height) / 2}, strip.width - 2 * margin, height};
}

}  // namespace vesk

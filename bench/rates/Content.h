#pragma once

#include <functional>
#include <string>
#include <vector>

#include "rates/Canvas.h"

namespace vesk::rates {

/// What a screen shows, picture by picture, thirty a second.
struct Content {
  std::string name;
  /// Moves at first and stands still from then on; else it is the same kind of picture all along.
  bool moves = false;
  /// Makes the painter of a canvas. It is called with the number of each picture in turn, the first
  /// included.
  std::function<std::function<void(int)>(Canvas&)> painter;
};

/// The pictures of a run, and those of them in which something moves.
inline constexpr int picturesPerSecond = 30;
inline constexpr int allPictures = 14 * picturesPerSecond;
inline constexpr int movingPictures = 7 * picturesPerSecond;

/// Every kind that is measured.
const std::vector<Content>& contents();

}  // namespace vesk::rates

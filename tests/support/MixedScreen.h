#pragma once

#include <memory>
#include <random>

#include "platform/linux/picture/Nv12Image.h"

namespace vesk::testing {

/// Images of a screen on which all sorts of things happen, the same for each seed: letters, a
/// pointer with soft edges, rectangles, pages, noise, parts that scroll, most of the time nothing;
/// corners and edges oftener than on a real one. Luma and chroma change.
///
/// Thread: the test's.
class MixedScreen {
 public:
  /// Edges are even.
  MixedScreen(PixelSize size, unsigned seed);

  std::shared_ptr<const picture::Nv12Image> image() const { return image_; }

  /// What happens until the next image.
  void goOn();

 private:
  struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  Area somewhere(int mostWidth, int mostHeight);
  void write(const Area& area, bool colourful);
  void fill(const Area& area);
  void scatter(const Area& area);
  void shade(const Area& area);
  void movePointer();
  void scroll();
  void touch(const Area& area);

  std::mt19937 random_;
  std::shared_ptr<picture::Nv12Image> image_;
  Area pointer_;
};

}  // namespace vesk::testing

#pragma once

#include <memory>
#include <random>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PixelRect.h"

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
  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  picture::PixelRect somewhere(int mostWidth, int mostHeight);
  void write(const picture::PixelRect& area, bool colourful);
  void fill(const picture::PixelRect& area);
  void scatter(const picture::PixelRect& area);
  void shade(const picture::PixelRect& area);
  void movePointer();
  void scroll();

  std::mt19937 random_;
  std::shared_ptr<picture::Nv12Image> image_;
  picture::PixelRect pointer_;
};

}  // namespace vesk::testing

#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PixelRect.h"
#include "support/imageStream.h"

namespace vesk::rates {

struct Colour {
  std::uint8_t luma = 16;
  std::uint8_t blue = 128;
  std::uint8_t red = 128;
};

/// A stream of images as a screen gives them, painted by hand. Thread: one at a time.
class Canvas {
 public:
  explicit Canvas(PixelSize size) : image_(std::make_shared<picture::Nv12Image>(size)) {
    image_->sequence = 1;
    std::fill(image_->changedAt.begin(), image_->changedAt.end(), 1U);
  }

  int width() const { return static_cast<int>(image_->size().width); }
  int height() const { return static_cast<int>(image_->size().height); }
  std::shared_ptr<const picture::Nv12Image> image() const { return image_; }

  /// The next image, a copy of this one until it is painted on.
  void next() { image_ = testing::nextImage(*image_); }

  /// Gives each pixel of a rectangle the colour that `at(x, y)` names.
  template <typename At>
  void paint(picture::PixelRect rect, At at) {
    rect = picture::intersection(rect, {0, 0, width(), height()});
    const int stride = image_->stride();
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        const Colour colour = at(x, y);
        image_->luma()[y * stride + x] = colour.luma;
        if ((x | y) % 2 != 0) continue;
        image_->chroma()[y / 2 * stride + x] = colour.blue;
        image_->chroma()[y / 2 * stride + x + 1] = colour.red;
      }
    }
    testing::markPainted(*image_, rect);
  }

  /// Moves everything up by an even number of rows.
  void scroll(int rows) {
    const int stride = image_->stride();
    std::copy(image_->luma() + rows * stride, image_->luma() + height() * stride, image_->luma());
    std::copy(image_->chroma() + rows / 2 * stride, image_->chroma() + height() / 2 * stride,
              image_->chroma());
    testing::markPainted(*image_, {0, 0, width(), height()});
  }

 private:
  std::shared_ptr<picture::Nv12Image> image_;
};

}  // namespace vesk::rates

#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <random>

#include "platform/linux/picture/Nv12Image.h"
#include "support/imageStream.h"

namespace vesk::testing {

/// A stream of images as a screen gives them: something like text on a light ground, of which parts
/// change. Thread: the test's.
class PaintedImages {
 public:
  explicit PaintedImages(PixelSize size) : image_(std::make_shared<picture::Nv12Image>(size)) {
    image_->sequence = 1;
    text(0, 0, static_cast<int>(size.width), static_cast<int>(size.height));
  }

  std::shared_ptr<const picture::Nv12Image> image() const { return image_; }

  /// The next image, a copy of this one until it is painted on.
  void next() { image_ = nextImage(*image_); }

  /// Rows of dark strokes that fill cells as letters do, some cells left blank.
  void text(int left, int top, int width, int height) {
    const auto salt = static_cast<unsigned>(random_());
    paint(left, top, width, height, [salt](int x, int y) -> int {
      const unsigned cell = (static_cast<unsigned>(x / 8) * 2654435761U) ^
                            (static_cast<unsigned>(y / 16) * 40503U) ^ salt;
      const bool blank = (cell >> 7) % 3 == 0 || y % 16 < 3 || y % 16 > 12 || x % 8 > 5;
      const bool upright = x % 8 / 2 == static_cast<int>((cell >> 11) % 3);
      const bool level = y % 16 / 2 == static_cast<int>((cell >> 14) % 8);
      return !blank && (upright || level) ? 40 : 230;
    });
  }

  void flat(int x, int y, int width, int height) {
    paint(x, y, width, height, [](int, int) { return 230; });
  }

  void noise(int x, int y, int width, int height) {
    paint(x, y, width, height, [this](int, int) { return 16 + static_cast<int>(random_() % 220); });
  }

  /// The next image, in which everything has moved up by so many rows.
  void scroll(int rows) {
    const auto before = image_;
    next();
    const auto size = image_->size();
    move(*before, static_cast<int>(size.width), static_cast<int>(size.height), rows);
  }

  /// The same of a part at the top on the left alone, up or down.
  void scroll(int width, int height, int rows) {
    const auto before = image_;
    next();
    move(*before, width, height, rows + height);
  }

  /// Squares of shades that nothing foretells.
  void patches(int left, int top, int width, int height) {
    const auto salt = static_cast<unsigned>(random_());
    paint(left, top, width, height, [salt](int x, int y) {
      const auto cell = static_cast<unsigned>(x / 8 * 4096 + y / 8) ^ salt;
      return 16 + static_cast<int>((cell * 2654435761U >> 16) % 220);
    });
  }

  /// A picture that moves smoothly, with a grain that is another one in each.
  void gradient(int step) {
    const auto size = image_->size();
    std::size_t at = 0;
    const int* const grain = grain_.data();
    paint(0, 0, static_cast<int>(size.width), static_cast<int>(size.height), [&](int x, int y) {
      if (x == 0) at = random_();
      return 16 + (x * 3 + y * 2 + step * 9 + grain[at++ % grain_.size()]) % 219;
    });
  }

 private:
  /// Rows as they were `rows` further down, in a circle.
  void move(const picture::Nv12Image& before, int width, int height, int rows) {
    const std::uint8_t* const luma = before.luma();
    const auto stride = before.stride();
    paint(0, 0, width, height,
          [&](int x, int y) -> int { return luma[(y + rows) % height * stride + x]; });
  }

  template <typename Value>
  void paint(int left, int top, int width, int height, Value value) {
    const auto stride = image_->stride();
    for (int y = top; y < top + height; ++y) {
      // By a pointer, which is fast where nothing is inlined too.
      std::uint8_t* pixel = image_->luma() + y * stride + left;
      for (int x = left; x < left + width; ++x) *pixel++ = static_cast<std::uint8_t>(value(x, y));
    }
    markPainted(*image_, {left, top, width, height});
  }

  std::shared_ptr<picture::Nv12Image> image_;
  std::mt19937 random_{7};
  /// Made once: to draw a number for each pixel takes longer than to encode them.
  std::array<int, 4099> grain_ = [this] {
    std::array<int, 4099> grain{};
    for (int& each : grain) each = static_cast<int>(random_() % 12);
    return grain;
  }();
};

}  // namespace vesk::testing

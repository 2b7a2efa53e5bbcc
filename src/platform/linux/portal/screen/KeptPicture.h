#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::portal::screen {

using picture::PixelRect;

/// The last picture of a stream, of four bytes a pixel, and where it has changed: found by
/// comparing, for hardly any desktop tells.
///
/// Changes are counted in squares of the size of a macroblock, since nothing that is made of the
/// picture tells of smaller ones. However many pictures come before somebody asks, they take no
/// more memory than one.
///
/// Thread: one at a time. Owns: the pixels. Fails: never.
class KeptPicture {
 public:
  /// It is black, and all of it counts as changed.
  explicit KeptPicture(PixelSize size);

  /// Takes over what the picture now shows in an area, which may reach beyond its edges. `pixels`
  /// are those of the whole picture.
  void update(const std::uint8_t* pixels, std::ptrdiff_t stride, const PixelRect& area);

  /// Whether something has changed that was not taken yet.
  bool hasChanges() const { return hasChanges_; }

  /// Where it has changed since the last time; nothing of it twice.
  std::vector<PixelRect> takeChanges();

  const std::uint8_t* pixels() const { return pixels_.data(); }
  std::ptrdiff_t stride() const { return stride_; }
  PixelRect whole() const { return {0, 0, width_, height_}; }

 private:
  void updateBand(const std::uint8_t* pixels, std::ptrdiff_t stride, const PixelRect& part);
  int markChanged(const std::uint8_t* now, const std::uint8_t* before, const PixelRect& part);
  std::uint8_t* marksOf(std::int32_t band) {
    return marks_.data() + static_cast<std::size_t>(band) * static_cast<std::size_t>(across_);
  }
  std::vector<PixelRect> takeBand(std::int32_t band);

  std::int32_t width_;
  std::int32_t height_;
  std::int32_t across_;  ///< squares in a row of them
  std::int32_t down_;
  std::ptrdiff_t stride_;
  std::vector<std::uint8_t> pixels_;
  std::vector<std::uint8_t> marks_;  ///< per square, row by row
  bool hasChanges_ = true;
};

}  // namespace vesk::portal::screen

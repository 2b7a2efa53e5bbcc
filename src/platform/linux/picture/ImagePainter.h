#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/picture/AreaScaler.h"
#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PixelLayout.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::picture {

/// Makes a stream of 4:2:0 images out of the screen's pixels. Only what changed is converted: an
/// image that nobody holds any more is brought up to date where it differs.
///
/// Thread: one at a time. Owns: the images that it keeps for use again; a receiver may hold one for
/// as long as it likes.
class ImagePainter {
 public:
  /// Edges of at least two pixels. The whole source fills the whole target, whichever is larger,
  /// but for an odd last row or column.
  ImagePainter(PixelSize source, PixelSize target, PixelLayout layout = PixelLayout::eightBits);

  /// The next image, after `changed` (in the source's pixels) has changed in `pixels`.
  std::shared_ptr<const Nv12Image> paint(const std::uint8_t* pixels, int stride,
                                         const std::vector<PixelRect>& changed);

 private:
  /// How pixels of the source become pixels of the target.
  enum class Way { crop, wholePart, area };

  static Way wayOf(PixelSize source, PixelSize target);
  std::size_t indexOf(int row, int column) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(across_) +
           static_cast<std::size_t>(column);
  }
  void note(const PixelRect& changed);
  void narrow(const std::uint8_t* pixels, int stride, const PixelRect& changed);
  std::shared_ptr<Nv12Image> freeImage();
  void convertRow(const std::uint8_t* pixels, int stride, Nv12Image& image, int row);
  void convert(const std::uint8_t* pixels, int stride, Nv12Image& image, const PixelRect& area);
  void scale(const std::uint8_t* pixels, int stride, const PixelRect& area);

  PixelSize source_;
  PixelSize target_;
  Way way_;
  int across_;
  int down_;
  Nv12Image::Sequence sequence_ = 0;
  std::vector<Nv12Image::Sequence> changedAt_;
  std::vector<std::shared_ptr<Nv12Image>> images_;
  std::vector<std::uint8_t> narrowed_;  ///< the source in eight bits, where it has ten
  std::optional<AreaScaler> scaler_;
  std::vector<std::uint8_t> scaled_;  ///< what is converted next, at the target's scale
};

}  // namespace vesk::picture

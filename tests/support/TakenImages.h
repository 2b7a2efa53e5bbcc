#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/stream/ImageSource.h"

namespace vesk::testing {

/// The images of a source, taken in turn as a stream would.
///
/// Thread: one at a time. The source is whoever's derives from it.
class TakenImages {
 public:
  using Image = std::shared_ptr<const picture::Nv12Image>;

  virtual ~TakenImages() = default;

  std::optional<PlatformError> open() { return images().open(-1); }

  /// Takes the next image if there is one by then; the error that ends it otherwise is kept.
  Image next(int milliseconds);

  /// Goes on until that is true of the last image. Whether it has become true.
  bool waitUntil(const std::function<bool(const picture::Nv12Image&)>& isDone);

  /// Goes on until nothing has changed for that long, and tells how many images there were.
  int drain(int milliseconds = 200);

  /// Goes on until it ends.
  std::optional<PlatformError> waitForEnd();

  const Image& last() const { return last_; }
  const std::optional<PlatformError>& error() const { return error_; }

 private:
  virtual stream::ImageSource& images() = 0;

  Image last_;
  std::optional<PlatformError> error_;
};

/// What a stream makes of such a picture (0xrrggbb row by row).
TakenImages::Image imageOf(const std::vector<std::uint32_t>& pixels, PixelSize size);

/// The largest difference of two images within an area, in luma or chroma.
int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b,
                      const picture::PixelRect& area);
int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b);

}  // namespace vesk::testing

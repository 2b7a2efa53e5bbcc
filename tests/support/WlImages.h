#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/wayland/screen/OutputImages.h"

namespace vesk::testing {

/// The images of an output, taken in turn as a stream would.
///
/// Thread: one at a time.
class WlImages {
 public:
  using Image = std::shared_ptr<const picture::Nv12Image>;

  /// Of the main output, at its own size. `display` is another one.
  explicit WlImages(const wayland::beneath::OwnSurfaces* leftOut = nullptr,
                    bool showsCursor = false, DisplayId display = 0);

  std::optional<PlatformError> open() { return images_->open(); }
  wayland::screen::OutputImages& source() { return *images_; }
  PixelSize size() const { return size_; }

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
  std::unique_ptr<wayland::screen::OutputImages> images_;
  PixelSize size_;
  Image last_;
  std::optional<PlatformError> error_;
};

/// What a stream makes of such a picture (0xrrggbb row by row).
WlImages::Image imageOf(const std::vector<std::uint32_t>& pixels, PixelSize size);

/// The largest difference of two images within an area, in luma or chroma.
int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b,
                      const picture::PixelRect& area);
int largestDifference(const picture::Nv12Image& a, const picture::Nv12Image& b);

}  // namespace vesk::testing

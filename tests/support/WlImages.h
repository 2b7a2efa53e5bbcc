#pragma once

#include <memory>

#include "platform/linux/wayland/screen/OutputImages.h"
#include "support/TakenImages.h"

namespace vesk::testing {

/// The images of an output.
class WlImages final : public TakenImages {
 public:
  /// Of the main output, at its own size. `display` is another one.
  explicit WlImages(const wayland::beneath::OwnSurfaces* leftOut = nullptr,
                    bool showsCursor = false, DisplayId display = 0);

  wayland::screen::OutputImages& source() { return *images_; }
  PixelSize size() const { return size_; }

 private:
  stream::ImageSource& images() override { return *images_; }

  std::unique_ptr<wayland::screen::OutputImages> images_;
  PixelSize size_;
};

}  // namespace vesk::testing

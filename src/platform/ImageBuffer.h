#pragma once

#include <memory>

#include "platform/Geometry.h"

namespace vesk {

/// One image of the screen, made by the screen stream and read by the compression session; the core
/// only carries it from one to the other. Immutable once delivered, so it may be read anywhere.
class ImageBuffer {
 public:
  virtual ~ImageBuffer() = default;
  virtual PixelSize size() const = 0;
};

using ImageBufferRef = std::shared_ptr<const ImageBuffer>;

}  // namespace vesk

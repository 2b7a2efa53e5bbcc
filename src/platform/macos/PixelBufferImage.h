#pragma once

#include <CoreVideo/CoreVideo.h>

#include <utility>

#include "platform/ImageBuffer.h"
#include "platform/macos/Retained.h"

namespace vesk::mac {

/// An image as the screen stream delivers it; it stays in the stream's memory until it is let go
/// of.
class PixelBufferImage final : public ImageBuffer {
 public:
  explicit PixelBufferImage(Retained<CVPixelBufferRef> buffer) : buffer_(std::move(buffer)) {}

  PixelSize size() const override {
    return {static_cast<std::int64_t>(CVPixelBufferGetWidth(buffer_.get())),
            static_cast<std::int64_t>(CVPixelBufferGetHeight(buffer_.get()))};
  }

  CVPixelBufferRef buffer() const { return buffer_.get(); }

 private:
  Retained<CVPixelBufferRef> buffer_;
};

}  // namespace vesk::mac

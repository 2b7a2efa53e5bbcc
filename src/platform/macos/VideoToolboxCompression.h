#pragma once

#include "platform/Compression.h"

namespace vesk::mac {

/// H.264 by the system's encoder, in hardware where there is any. Images are `PixelBufferImage`s.
class VideoToolboxCompression final : public Compression {
 public:
  Result makeH264Session(const CompressionSpecification& specification) override;
};

}  // namespace vesk::mac

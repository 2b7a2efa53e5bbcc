#pragma once

#include "platform/Compression.h"

namespace vesk::picture {

/// H.264 by x264 on a thread of each session's own. Images are `Nv12Image`s.
class X264Compression final : public Compression {
 public:
  /// The encoder does not tell why it would not open, so its refusal has one number. A session
  /// whose thread cannot be made has the system's.
  static constexpr Status refused = -1;

  Result makeH264Session(const CompressionSpecification& specification) override;
};

}  // namespace vesk::picture

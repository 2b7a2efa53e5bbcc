#pragma once

#include <cstddef>
#include <optional>

#include "link/Frame.h"

namespace vesk::agent {

/// Cuts the program's stream into frames, however its bytes arrive.
///
/// Thread: one. Owns: the bytes of the frame that is not complete yet, and never more memory than
/// bytes came in, whatever length a header announces. Fails: once a frame announces more than
/// `maxFrameSize`, nothing behind it can be trusted; `brokenBy` tells the length.
class FrameAssembler {
 public:
  /// Far above any key frame. The program's own reader takes much less, but it is never sent video.
  static constexpr std::size_t maxFrameSize = std::size_t{64} * 1024 * 1024;

  void append(ByteView bytes);

  /// The next whole frame; nothing until more bytes have come, or for good when the stream is
  /// broken.
  std::optional<Frame> next();

  std::optional<std::size_t> brokenBy() const { return brokenBy_; }

  /// How many bytes of an unfinished frame are there.
  std::size_t pending() const { return buffer_.size() - start_; }

 private:
  void dropConsumed();

  Bytes buffer_;
  std::size_t start_ = 0;  ///< where the next frame begins
  std::optional<std::size_t> brokenBy_;
};

}  // namespace vesk::agent

#pragma once

#include <chrono>
#include <optional>

#include "platform/ScreenCapture.h"

namespace vesk::stream {

/// One display as images, and why there are none any more: it changed, it went, the whole desktop
/// did.
///
/// Thread: one at a time; all but `open` and the end only between `open` and `close`. Owns: what it
/// grabs with. Fails: by an error that ends the stream.
class ImageSource {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Taken {
    ImageBufferRef image;  ///< null when what was drawn is not to be seen, or not yet
    std::optional<PlatformError> error;
  };

  virtual ~ImageSource() = default;

  /// Own windows come up once this has returned. What takes long is given up as soon as `stopped`,
  /// a descriptor or -1, becomes readable.
  virtual std::optional<PlatformError> open(int stopped) = 0;
  virtual void close() = 0;

  /// Becomes readable when the desktop has something to tell.
  virtual int descriptor() const = 0;

  /// Takes what the desktop has told.
  virtual std::optional<PlatformError> follow() = 0;

  /// Whether the next image may look different from the last.
  virtual bool mayDiffer() = 0;

  /// Whether `follow` would find something, of which the descriptor may tell no more.
  virtual bool hasNews() = 0;

  /// When the next image may look different though the desktop has told nothing.
  virtual Time nextLook() const = 0;

  virtual Taken take() = 0;

  /// Whether what is to be seen is held back, to be taken later.
  virtual bool isHeldBack() const = 0;
};

}  // namespace vesk::stream

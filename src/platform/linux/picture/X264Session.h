#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "platform/Compression.h"
#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/picture/ScreenEncoder.h"

namespace vesk::picture {

/// One session; see `CompressionSession`. A frame that comes while too many are pending is dropped,
/// and its handler runs at once, on the caller's thread: the encoder's own is the one that is held
/// up, perhaps by a handler whose reader has stopped reading.
class X264Session final : public CompressionSession {
 public:
  static constexpr int mostPending = 3;

  explicit X264Session(const CompressionSpecification& specification);

  Status setProperty(CompressionProperty property, PropertyValue value) override;
  Status prepareToEncodeFrames() override;
  Status encodeFrame(ImageBufferRef image, HostTime presentationTime, bool forceKeyFrame,
                     OutputHandler handler) override;
  Status completeFrames() override;
  void invalidate() override;

 private:
  /// What the encoder's thread works with; it lives as long as a frame is on its way there.
  struct State {
    ScreenEncoderSettings settings;
    std::unique_ptr<ScreenEncoder> encoder;
    std::atomic<int> pending = 0;
    std::atomic<bool> keyFrameLost = false;
  };

  static std::optional<EncodedSample> encode(State& state, ImageBufferRef image, HostTime time,
                                             bool forceKeyFrame);

  std::shared_ptr<State> state_;
  std::atomic<bool> valid_ = true;
  loop::ThreadQueue queue_;
};

}  // namespace vesk::picture

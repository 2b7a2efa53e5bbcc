#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "platform/Clock.h"
#include "platform/ImageBuffer.h"

namespace vesk {

/// The platform's own number for how a call went; zero is success.
using Status = std::int32_t;

enum class ProfileLevel { h264ConstrainedBaselineAutoLevel };

enum class CompressionProperty {
  realTime,                     ///< bool
  profileLevel,                 ///< ProfileLevel
  allowFrameReordering,         ///< bool
  averageBitRate,               ///< bits per second; may be changed while frames are encoded
  expectedFrameRate,            ///< frames per second
  maxKeyFrameInterval,          ///< frames
  maxKeyFrameIntervalDuration,  ///< seconds
};

using PropertyValue = std::variant<bool, std::int64_t, ProfileLevel>;

/// One encoded frame as an encoder gives it.
struct EncodedSample {
  /// NAL units, each behind its length as four bytes, big-endian; nothing when there is no data.
  std::optional<std::vector<std::byte>> data;
  /// True for a frame that other frames must come before; nothing when the encoder does not say,
  /// which counts as a key frame.
  std::optional<bool> notSync;
  /// The sequence and picture parameter sets, without start codes; nothing when the encoder gives
  /// no format description.
  std::optional<std::vector<std::vector<std::byte>>> parameterSets;
};

/// Thread: one at a time; `completeFrames` returns after the last output handler has run.
/// Owns: the encoder and its thread. Calls back: output handlers on the encoder's own thread, in
/// encoding order, never after `invalidate` has returned. A handler must not take the queue from
/// which `completeFrames` is called.
class CompressionSession {
 public:
  /// A non-zero status or a missing sample is a frame that was lost.
  using OutputHandler = std::function<void(Status, std::optional<EncodedSample>)>;

  virtual ~CompressionSession() = default;

  virtual Status setProperty(CompressionProperty property, PropertyValue value) = 0;
  virtual Status prepareToEncodeFrames() = 0;

  /// Submits one image and returns. When too many frames are pending already, the frame is dropped:
  /// its handler is called without a sample.
  virtual Status encodeFrame(ImageBufferRef image, HostTime presentationTime, bool forceKeyFrame,
                             OutputHandler handler) = 0;

  virtual Status completeFrames() = 0;
  virtual void invalidate() = 0;
};

struct CompressionSpecification {
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool enableHardwareAcceleratedVideoEncoder = true;  ///< preferred, not required
};

/// Thread: any. Owns: nothing of what it makes.
class Compression {
 public:
  struct Result {
    Status status = 0;
    std::unique_ptr<CompressionSession> session;  ///< null on failure
  };

  virtual ~Compression() = default;

  /// An H.264 session. Fails with the encoder's own status.
  virtual Result makeH264Session(const CompressionSpecification& specification) = 0;
};

}  // namespace vesk

#pragma once

#include <VideoToolbox/VideoToolbox.h>

#include <atomic>
#include <chrono>
#include <memory>

#include "platform/Compression.h"
#include "platform/macos/Retained.h"

namespace vesk::mac {

/// One session; see `CompressionSession`. A frame that comes while too many are pending is dropped,
/// and its handler runs at once, on the caller's thread: the encoder's own is the one that is held
/// up, perhaps by a handler whose reader has stopped reading.
///
/// A handler knows nothing of the session or its queue, so completing the frames from the queue
/// that submits them cannot lock up. An encoder that hangs is not waited for without end: what it
/// puts out later, nobody hears of.
class VideoToolboxSession final : public CompressionSession {
 public:
  static constexpr int mostPending = 5;

  /// Many times what five frames take.
  static constexpr std::chrono::seconds longestCompletion{1};

  /// For a frame that is not one of this platform's, for a session that has ended, and for frames
  /// that were not completed in time.
  static constexpr Status refused = -1;

  explicit VideoToolboxSession(Retained<VTCompressionSessionRef> session);

  Status setProperty(CompressionProperty property, PropertyValue value) override;
  Status prepareToEncodeFrames() override;
  Status encodeFrame(ImageBufferRef image, HostTime presentationTime, bool forceKeyFrame,
                     OutputHandler handler) override;
  Status completeFrames() override;
  void invalidate() override;

 private:
  /// What frames on their way through the encoder report to.
  struct State {
    std::atomic<int> pending = 0;
    std::atomic<bool> keyFrameLost = false;
    std::atomic<bool> over = false;  ///< the session has ended
  };

  Retained<VTCompressionSessionRef> session_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
  bool hangs_ = false;
};

}  // namespace vesk::mac

#include "platform/macos/VideoToolboxSession.h"

#include <dispatch/dispatch.h>

#include <future>
#include <utility>

#include "platform/macos/MediaTime.h"
#include "platform/macos/PixelBufferImage.h"
#include "platform/macos/dictionaryOf.h"
#include "platform/macos/encodedSampleOf.h"
#include "platform/macos/runTask.h"

namespace vesk::mac {
namespace {

CFStringRef keyOf(CompressionProperty property) {
  switch (property) {
    case CompressionProperty::realTime:
      return kVTCompressionPropertyKey_RealTime;
    case CompressionProperty::profileLevel:
      return kVTCompressionPropertyKey_ProfileLevel;
    case CompressionProperty::allowFrameReordering:
      return kVTCompressionPropertyKey_AllowFrameReordering;
    case CompressionProperty::averageBitRate:
      return kVTCompressionPropertyKey_AverageBitRate;
    case CompressionProperty::expectedFrameRate:
      return kVTCompressionPropertyKey_ExpectedFrameRate;
    case CompressionProperty::maxKeyFrameInterval:
      return kVTCompressionPropertyKey_MaxKeyFrameInterval;
    case CompressionProperty::maxKeyFrameIntervalDuration:
      return kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration;
  }
}

Retained<CFTypeRef> valueOf(bool value) {
  return Retained<CFTypeRef>::share(value ? kCFBooleanTrue : kCFBooleanFalse);
}

Retained<CFTypeRef> valueOf(std::int64_t value) {
  return adopt<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
}

Retained<CFTypeRef> valueOf(ProfileLevel level) {
  switch (level) {
    case ProfileLevel::h264ConstrainedBaselineAutoLevel:
      return Retained<CFTypeRef>::share(kVTProfileLevel_H264_ConstrainedBaseline_AutoLevel);
  }
}

Retained<CFDictionaryRef> frameProperties(bool forceKeyFrame) {
  if (!forceKeyFrame) return {};
  return dictionaryOf(kVTEncodeFrameOptionKey_ForceKeyFrame, kCFBooleanTrue);
}

}  // namespace

VideoToolboxSession::VideoToolboxSession(Retained<VTCompressionSessionRef> session)
    : session_(std::move(session)) {}

Status VideoToolboxSession::setProperty(CompressionProperty property, PropertyValue value) {
  const auto converted = std::visit([](auto each) { return valueOf(each); }, value);
  return VTSessionSetProperty(session_.get(), keyOf(property), converted.get());
}

Status VideoToolboxSession::prepareToEncodeFrames() {
  return VTCompressionSessionPrepareToEncodeFrames(session_.get());
}

Status VideoToolboxSession::encodeFrame(ImageBufferRef image, HostTime presentationTime,
                                        bool forceKeyFrame, OutputHandler handler) {
  const auto* const pixels = dynamic_cast<const PixelBufferImage*>(image.get());
  if (state_->over || pixels == nullptr) return refused;
  if (state_->pending >= mostPending) {
    // The viewer asked for it, and must not wait for the next one that comes by itself.
    if (forceKeyFrame) state_->keyFrameLost = true;
    handler(0, std::nullopt);
    return 0;
  }
  ++state_->pending;
  const bool key = state_->keyFrameLost.exchange(false) || forceKeyFrame;
  const auto properties = frameProperties(key);
  const auto state = state_;
  const Status status = VTCompressionSessionEncodeFrameWithOutputHandler(
      session_.get(), pixels->buffer(), mediaTime(presentationTime), kCMTimeInvalid,
      properties.get(), nullptr,
      ^(OSStatus outcome, VTEncodeInfoFlags, CMSampleBufferRef _Nullable sample) {
        @autoreleasepool {
          if (key && (outcome != 0 || sample == nullptr)) state->keyFrameLost = true;
          if (!state->over) handler(outcome, encodedSampleOf(sample));
        }
        --state->pending;
      });
  if (status != 0) {  // then there is no output to wait for
    if (key) state_->keyFrameLost = true;
    --state_->pending;
  }
  return status;
}

Status VideoToolboxSession::completeFrames() {
  if (hangs_) return refused;
  const auto session = session_;
  const auto outcome = std::make_shared<std::promise<OSStatus>>();
  auto completion = outcome->get_future();
  const auto complete = [session, outcome] {
    outcome->set_value(VTCompressionSessionCompleteFrames(session.get(), kCMTimeInvalid));
  };
  dispatch_async_f(dispatch_queue_create("com.vesk.screen.completion", DISPATCH_QUEUE_SERIAL),
                   givenAway(complete), runTask);
  hangs_ = completion.wait_for(longestCompletion) != std::future_status::ready;
  return hangs_ ? refused : completion.get();
}

/// The encoder's end drops what it has not put out yet, at a time of its own. One that hangs ends
/// with whoever still waits for it.
void VideoToolboxSession::invalidate() {
  if (state_->over) return;
  completeFrames();
  state_->over = true;
  if (!hangs_) VTCompressionSessionInvalidate(session_.get());
}

}  // namespace vesk::mac

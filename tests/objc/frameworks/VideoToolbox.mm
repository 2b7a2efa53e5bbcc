#include <VideoToolbox/VideoToolbox.h>

#include <utility>

#include "objc/dispatch/Worker.h"
#include "objc/frameworks/Foundation.h"
#include "objc/frameworks/Media.h"

using vesk::fakes::Answers;
using vesk::fakes::encoder;
using vesk::fakes::Worker;

@interface VeskCompressionSession : NSObject
@end
@implementation VeskCompressionSession {
 @public
  std::shared_ptr<Worker> worker_;
  bool hadKeyFrame_;
  bool ended_;
}
- (instancetype)init {
  self = [super init];
  worker_ = std::make_shared<Worker>();
  worker_->start();
  return self;
}
- (void)dealloc {
  worker_->finish();
}
@end

namespace {

constexpr OSStatus invalidSession = -12903;

VeskCompressionSession* sessionOf(VTSessionRef session) {
  return (__bridge VeskCompressionSession*)session;
}

bool isForced(CFDictionaryRef properties) {
  return properties != nullptr &&
         CFDictionaryGetValue(properties, kVTEncodeFrameOptionKey_ForceKeyFrame) == kCFBooleanTrue;
}

long numberOf(CFTypeRef value) {
  const id object = (__bridge id)value;
  return [object isKindOfClass:[NSNumber class]] ? [(NSNumber*)object integerValue] : -1;
}

}  // namespace

namespace vesk::fakes {

Encoder& encoder() {
  static Encoder& only = *new Encoder;
  return only;
}

void Encoder::answerLate() {
  std::deque<std::function<void()>> held;
  {
    const std::lock_guard lock(mutex);
    held = std::exchange(waiting, {});
  }
  for (auto& each : held) each();
}

void Encoder::reset() {
  const std::lock_guard lock(mutex);
  status = frameStatus = outcome = 0;
  losesFrames = false;
  answers = Answers::atOnce;
  sessions = 0;
  ended = 0;
  frames = 0;
  properties.clear();
  waiting.clear();
  completes = {};
}

}  // namespace vesk::fakes

#define NAMED(constant) const CFStringRef constant = (__bridge CFStringRef) @ #constant
NAMED(kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder);
NAMED(kVTCompressionPropertyKey_RealTime);
NAMED(kVTCompressionPropertyKey_ProfileLevel);
NAMED(kVTCompressionPropertyKey_AllowFrameReordering);
NAMED(kVTCompressionPropertyKey_AverageBitRate);
NAMED(kVTCompressionPropertyKey_ExpectedFrameRate);
NAMED(kVTCompressionPropertyKey_MaxKeyFrameInterval);
NAMED(kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration);
NAMED(kVTProfileLevel_H264_ConstrainedBaseline_AutoLevel);
NAMED(kVTEncodeFrameOptionKey_ForceKeyFrame);

OSStatus VTCompressionSessionCreate(CFAllocatorRef, int32_t width, int32_t height, CMVideoCodecType,
                                    CFDictionaryRef, CFDictionaryRef, CFAllocatorRef,
                                    VTCompressionOutputCallback, void*,
                                    VTCompressionSessionRef* session) {
  const std::lock_guard lock(encoder().mutex);
  if (encoder().status != 0) return encoder().status;
  if (width <= 0 || height <= 0) return -1;
  ++encoder().sessions;
  *session = (__bridge_retained VTCompressionSessionRef)[VeskCompressionSession new];
  return 0;
}

OSStatus VTSessionSetProperty(VTSessionRef session, CFStringRef key, CFTypeRef value) {
  if (sessionOf(session)->ended_) return invalidSession;
  const std::lock_guard lock(encoder().mutex);
  encoder().properties[((__bridge NSString*)key).UTF8String] = numberOf(value);
  return 0;
}

OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef session) {
  return sessionOf(session)->ended_ ? invalidSession : 0;
}

OSStatus VTCompressionSessionEncodeFrameWithOutputHandler(VTCompressionSessionRef given,
                                                          CVImageBufferRef image, CMTime, CMTime,
                                                          CFDictionaryRef properties,
                                                          VTEncodeInfoFlags*,
                                                          VTCompressionOutputHandler handler) {
  VeskCompressionSession* const session = sessionOf(given);
  if (session->ended_ || image == nullptr) return invalidSession;
  const std::lock_guard lock(encoder().mutex);
  if (encoder().frameStatus != 0) return encoder().frameStatus;
  const bool isFirst = !std::exchange(session->hadKeyFrame_, true);
  const bool isKey = isFirst || isForced(properties);
  // The encoder holds the image until the frame has come out.
  const auto held = vesk::mac::Retained<CVImageBufferRef>::share(image);
  auto output = [handler, isKey, held, outcome = encoder().outcome, empty = encoder().losesFrames] {
    handler(outcome, 0, empty ? nullptr : vesk::fakes::madeFrame(isKey).get());
  };
  ++encoder().frames;
  if (encoder().answers == Answers::atOnce) {
    session->worker_->async(std::move(output));
  } else if (encoder().answers == Answers::late) {
    // What is on its way through the encoder keeps it.
    encoder().waiting.push_back([session, output] { session->worker_->sync(output); });
  }
  return 0;
}

OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef session, CMTime) {
  std::shared_future<void> completes;
  {
    const std::lock_guard lock(encoder().mutex);
    completes = encoder().completes;
  }
  if (completes.valid()) completes.wait();
  encoder().answerLate();
  sessionOf(session)->worker_->sync([] {});
  return 0;
}

void VTCompressionSessionInvalidate(VTCompressionSessionRef session) {
  sessionOf(session)->ended_ = true;
  const std::lock_guard lock(encoder().mutex);
  ++encoder().ended;
}

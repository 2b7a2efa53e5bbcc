#include "platform/macos/StreamReceiver.h"

#include <utility>

#include "platform/macos/PixelBufferImage.h"
#include "platform/macos/attachment.h"
#include "platform/macos/guarded.h"

namespace {

using vesk::mac::PixelBufferImage;
using vesk::mac::Retained;

/// Nothing when the sample does not tell, or not by a number.
std::optional<int> statusOf(CMSampleBufferRef _Nonnull buffer) {
  const CFTypeRef value =
      vesk::mac::attachment(buffer, (__bridge CFStringRef)SCStreamFrameInfoStatus);
  const id number = (__bridge id)value;
  if (![number isKindOfClass:[NSNumber class]]) return std::nullopt;
  return static_cast<int>(static_cast<NSNumber*>(number).integerValue);
}

vesk::ImageBufferRef imageOf(CMSampleBufferRef _Nonnull buffer) {
  const auto image = Retained<CVPixelBufferRef>::share(CMSampleBufferGetImageBuffer(buffer));
  return image ? std::make_shared<PixelBufferImage>(image) : nullptr;
}

vesk::StreamSample sampleOf(CMSampleBufferRef _Nonnull buffer) {
  vesk::StreamSample sample;
  sample.valid = CMSampleBufferIsValid(buffer) != 0;
  if (!sample.valid) return sample;
  sample.image = imageOf(buffer);
  sample.status = statusOf(buffer);
  return sample;
}

}  // namespace

@implementation VeskStreamReceiver {
  std::shared_ptr<vesk::mac::StreamCallbacks> callbacks_;
}

- (instancetype)initWithCallbacks:(std::shared_ptr<vesk::mac::StreamCallbacks>)callbacks {
  self = [super init];
  callbacks_ = std::move(callbacks);
  return self;
}

- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type {
  @autoreleasepool {
    callbacks_->deliver(sampleOf(sampleBuffer), static_cast<vesk::StreamOutputType>(type));
  }
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error {
  @autoreleasepool {
    callbacks_->stopped({vesk::mac::toUtf8(error.localizedDescription)});
  }
}

@end

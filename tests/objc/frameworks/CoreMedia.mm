#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <algorithm>
#include <chrono>

#include "objc/frameworks/Foundation.h"
#include "objc/frameworks/Media.h"

@interface VeskPixelBuffer : NSObject
@end
@implementation VeskPixelBuffer {
 @public
  std::size_t width_;
  std::size_t height_;
}
@end

@interface VeskFormat : NSObject
@end
@implementation VeskFormat {
 @public
  vesk::fakes::Units sets_;
}
@end

@interface VeskBlockBuffer : NSObject
@end
@implementation VeskBlockBuffer {
 @public
  std::vector<std::uint8_t> bytes_;
}
@end

@interface VeskSampleBuffer : NSObject
@end
@implementation VeskSampleBuffer {
 @public
  bool valid_;
  VeskPixelBuffer* image_;
  VeskBlockBuffer* data_;
  VeskFormat* format_;
  NSArray* attachments_;
}
@end

namespace {

using vesk::fakes::SampleRef;

constexpr OSStatus noSuchSet = -12712;

template <typename Ref>
VeskSampleBuffer* sampleOf(Ref buffer) {
  return (__bridge VeskSampleBuffer*)buffer;
}

SampleRef adopted(VeskSampleBuffer* sample) {
  return SampleRef::adopt((__bridge_retained CMSampleBufferRef)sample);
}

NSArray* attached(id value, id key) {
  return [NSArray arrayOf:{ [NSDictionary dictionaryOf:value for : key] }];
}

}  // namespace

NSString* const SCStreamFrameInfoStatus = @"SCStreamUpdateFrameStatus";
const CFStringRef kCMSampleAttachmentKey_NotSync = (__bridge CFStringRef) @"NotSync";
const CMTime kCMTimeInvalid{};

namespace vesk::fakes {

SampleRef made(const ScreenSample& wanted) {
  @autoreleasepool {
    VeskSampleBuffer* const sample = [VeskSampleBuffer new];
    sample->valid_ = wanted.valid;
    if (wanted.hasImage) {
      sample->image_ = [VeskPixelBuffer new];
      sample->image_->width_ = wanted.width;
      sample->image_->height_ = wanted.height;
    }
    if (wanted.status) {
      sample->attachments_ = attached([NSNumber numberOf:*wanted.status], SCStreamFrameInfoStatus);
    }
    return adopted(sample);
  }
}

SampleRef madeFrame(bool isKeyFrame) {
  @autoreleasepool {
    constexpr std::uint8_t keySlice = 0x65;
    constexpr std::uint8_t plainSlice = 0x41;
    VeskSampleBuffer* const sample = [VeskSampleBuffer new];
    sample->valid_ = true;
    sample->data_ = [VeskBlockBuffer new];
    sample->data_->bytes_ = {0, 0, 0, 2, isKeyFrame ? keySlice : plainSlice, 0x88};
    sample->format_ = [VeskFormat new];
    sample->format_->sets_ = {{0x67, 0x42, 0xc0, 0x1f}, {0x68, 0xce}};
    if (!isKeyFrame) {
      sample->attachments_ = attached((__bridge id)(CFTypeRef)kCFBooleanTrue,
                                      (__bridge id)kCMSampleAttachmentKey_NotSync);
    }
    return adopted(sample);
  }
}

}  // namespace vesk::fakes

CMTime CMTimeMake(int64_t value, int32_t timescale) { return {value, timescale, 1, 0}; }
CMClockRef CMClockGetHostTimeClock() { return nullptr; }
CMTime CMClockGetTime(CMClockRef) {
  const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
  return CMTimeMake(now.count(), 1'000'000'000);
}

Boolean CMSampleBufferIsValid(CMSampleBufferRef buffer) { return sampleOf(buffer)->valid_; }
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef buffer) {
  return (__bridge CVImageBufferRef)sampleOf(buffer)->image_;
}
CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef buffer) {
  return (__bridge CMBlockBufferRef)sampleOf(buffer)->data_;
}
CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer) {
  return (__bridge CMFormatDescriptionRef)sampleOf(buffer)->format_;
}
CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef buffer, Boolean create) {
  return create != 0 ? nullptr : (__bridge CFArrayRef)sampleOf(buffer)->attachments_;
}

size_t CMBlockBufferGetDataLength(CMBlockBufferRef buffer) {
  return ((__bridge VeskBlockBuffer*)buffer)->bytes_.size();
}
OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef buffer, size_t offset, size_t length,
                                    void* destination) {
  const auto& bytes = ((__bridge VeskBlockBuffer*)buffer)->bytes_;
  if (length == 0 || offset + length > bytes.size()) return -1;
  std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), length,
              static_cast<std::uint8_t*>(destination));
  return 0;
}

OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef description,
                                                            size_t index, const uint8_t** bytes,
                                                            size_t* size, size_t* count, int*) {
  const auto& sets = ((__bridge VeskFormat*)description)->sets_;
  if (count != nullptr) *count = sets.size();
  if (index >= sets.size()) return noSuchSet;
  if (bytes != nullptr) *bytes = sets[index].data();
  if (size != nullptr) *size = sets[index].size();
  return 0;
}

int32_t CVPixelBufferCreate(CFAllocatorRef, size_t width, size_t height, OSType, CFDictionaryRef,
                            CVPixelBufferRef* buffer) {
  VeskPixelBuffer* const made = [VeskPixelBuffer new];
  made->width_ = width;
  made->height_ = height;
  *buffer = (__bridge_retained CVPixelBufferRef)made;
  return 0;
}
size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer) {
  return ((__bridge VeskPixelBuffer*)buffer)->width_;
}
size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer) {
  return ((__bridge VeskPixelBuffer*)buffer)->height_;
}

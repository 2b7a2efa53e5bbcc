#include "platform/macos/VideoToolboxCompression.h"

#include <VideoToolbox/VideoToolbox.h>

#include "platform/macos/VideoToolboxSession.h"
#include "platform/macos/dictionaryOf.h"

namespace vesk::mac {

Compression::Result VideoToolboxCompression::makeH264Session(
    const CompressionSpecification& specification) {
  const auto encoder = dictionaryOf(
      kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder,
      specification.enableHardwareAcceleratedVideoEncoder ? kCFBooleanTrue : kCFBooleanFalse);
  VTCompressionSessionRef session = nullptr;
  // No call-back here: each frame brings its own.
  const OSStatus status = VTCompressionSessionCreate(
      kCFAllocatorDefault, specification.width, specification.height, kCMVideoCodecType_H264,
      encoder.get(), nullptr, kCFAllocatorDefault, nullptr, nullptr, &session);
  auto owned = adopt(session);
  if (status != 0 || !owned) return {status, nullptr};
  return {0, std::make_unique<VideoToolboxSession>(std::move(owned))};
}

}  // namespace vesk::mac

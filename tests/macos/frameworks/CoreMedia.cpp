#include <algorithm>
#include <cstdint>

#include "macos/frameworks/Frameworks.h"

namespace {

namespace mac = vesk::fakes::mac;

template <typename Ref, typename Object>
Ref lent(Object* object) {
  return object == nullptr ? nullptr : mac::as<Ref>(*object);
}

const mac::SampleBuffer& sample(CMSampleBufferRef buffer) {
  return *reinterpret_cast<const mac::SampleBuffer*>(buffer);
}

constexpr OSStatus noSuchSet = -12712;

}  // namespace

const CFStringRef kCMSampleAttachmentKey_NotSync = reinterpret_cast<CFStringRef>("NotSync");

CMTime CMTimeMake(std::int64_t value, std::int32_t timescale) { return {value, timescale, 1, 0}; }
CMClockRef CMClockGetHostTimeClock() { return nullptr; }
CMTime CMClockGetTime(CMClockRef) { return mac::system().now; }

CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef buffer) {
  return lent<CMBlockBufferRef>(sample(buffer).data);
}
CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer) {
  return lent<CMFormatDescriptionRef>(sample(buffer).format);
}
CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef buffer, Boolean create) {
  return create != 0 ? nullptr : lent<CFArrayRef>(sample(buffer).attachments);
}

std::size_t CMBlockBufferGetDataLength(CMBlockBufferRef buffer) {
  return reinterpret_cast<mac::BlockBuffer*>(buffer)->bytes.size();
}
OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef buffer, std::size_t offset, std::size_t length,
                                    void* destination) {
  const auto& block = *reinterpret_cast<mac::BlockBuffer*>(buffer);
  if (length == 0) return -1;
  const auto first = block.bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  std::copy_n(first, length, static_cast<std::uint8_t*>(destination));
  return block.copyStatus;
}

OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef description,
                                                            std::size_t index,
                                                            const std::uint8_t** bytes,
                                                            std::size_t* size, std::size_t* count,
                                                            int*) {
  const auto& format = *reinterpret_cast<const mac::Format*>(description);
  if (count != nullptr) *count = format.sets.size();
  if (index >= format.sets.size() || format.unreadable == index) return noSuchSet;
  if (bytes != nullptr) *bytes = format.sets[index].data();
  if (size != nullptr) *size = format.sets[index].size();
  return 0;
}

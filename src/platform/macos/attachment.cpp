#include "platform/macos/attachment.h"

namespace vesk::mac {

CFTypeRef attachment(CMSampleBufferRef buffer, CFStringRef key) {
  constexpr Boolean doNotCreate = 0;
  const CFArrayRef samples = CMSampleBufferGetSampleAttachmentsArray(buffer, doNotCreate);
  if (samples == nullptr || CFArrayGetCount(samples) < 1) return nullptr;
  const void* const first = CFArrayGetValueAtIndex(samples, 0);
  if (first == nullptr) return nullptr;
  return CFDictionaryGetValue(static_cast<CFDictionaryRef>(first), key);
}

}  // namespace vesk::mac

#include "platform/macos/dictionaryOf.h"

namespace vesk::mac {

Retained<CFDictionaryRef> dictionaryOf(CFStringRef key, CFTypeRef value) {
  const void* keys[] = {key};
  const void* values[] = {value};
  return adopt(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                  &kCFTypeDictionaryKeyCallBacks,
                                  &kCFTypeDictionaryValueCallBacks));
}

}  // namespace vesk::mac

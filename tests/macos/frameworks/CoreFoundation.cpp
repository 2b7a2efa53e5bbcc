#include <memory>

#include "macos/frameworks/Frameworks.h"

namespace {

namespace mac = vesk::fakes::mac;

mac::Object* object(CFTypeRef reference) {
  return const_cast<mac::Object*>(static_cast<const mac::Object*>(reference));
}

mac::Boolean yes(true);
mac::Boolean no(false);

constexpr CFTypeID booleanType = 1;

}  // namespace

namespace vesk::fakes::mac {
System& system() {
  static System only;
  return only;
}
}  // namespace vesk::fakes::mac

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = mac::as<CFBooleanRef>(yes);
const CFBooleanRef kCFBooleanFalse = mac::as<CFBooleanRef>(no);
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};

CFTypeRef CFRetain(CFTypeRef reference) {
  ++object(reference)->references;
  return reference;
}

void CFRelease(CFTypeRef reference) {
  if (--object(reference)->references == 0) delete object(reference);
}

CFTypeID CFBooleanGetTypeID() { return booleanType; }

CFTypeID CFGetTypeID(CFTypeRef reference) {
  return dynamic_cast<mac::Boolean*>(object(reference)) == nullptr ? 0 : booleanType;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return dynamic_cast<mac::Boolean&>(*object(boolean)).value ? 1 : 0;
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  return static_cast<CFIndex>(dynamic_cast<mac::Array&>(*object(array)).elements.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  return dynamic_cast<mac::Array&>(*object(array)).elements.at(static_cast<std::size_t>(index));
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  // Without them a dictionary would hold nothing and compare addresses only.
  if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks) return nullptr;
  if (valueCallBacks != &kCFTypeDictionaryValueCallBacks) return nullptr;
  auto made = std::make_unique<mac::Dictionary>();
  for (CFIndex i = 0; i < count; ++i) made->entries[keys[i]] = values[i];
  return mac::as<CFDictionaryRef>(*made.release());
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  const auto& entries = dynamic_cast<mac::Dictionary&>(*object(dictionary)).entries;
  const auto found = entries.find(key);
  return found == entries.end() ? nullptr : found->second;
}

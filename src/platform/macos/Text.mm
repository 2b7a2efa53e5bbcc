#include "platform/macos/Text.h"

namespace vesk::mac {

NSString* toNSString(const std::string& utf8) {
  // With a length, because a text may hold a zero.
  NSString* const text = [[NSString alloc] initWithBytes:utf8.data()
                                                  length:utf8.size()
                                                encoding:NSUTF8StringEncoding];
  if (text == nil) return @"";
  return static_cast<NSString* _Nonnull>(text);
}

std::string toUtf8(NSString* text) {
  const char* const utf8 = text.UTF8String;
  return utf8 == nullptr ? "" : utf8;
}

}  // namespace vesk::mac

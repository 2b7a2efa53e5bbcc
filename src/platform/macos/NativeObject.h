#pragma once

#import <Foundation/Foundation.h>

#include <memory>

namespace vesk::mac {

/// A reference to `object` for the core to carry, which neither looks into it nor knows what it is.
inline std::shared_ptr<const void> nativeObject(id _Nonnull object) {
  return {(__bridge_retained CFTypeRef)object, [](CFTypeRef retained) { CFRelease(retained); }};
}

/// The object again, or nil for one that the core made up.
template <typename Class>
Class* _Nullable nativeObject(const std::shared_ptr<const void>& reference) {
  const id object = (__bridge id)reference.get();
  return [object isKindOfClass:[Class class]] ? static_cast<Class*>(object) : nil;
}

}  // namespace vesk::mac

#pragma once
#ifdef __APPLE__
#include_next <objc/NSObject.h>
#else
// What there is of the runtime's own interface, for where its headers are not.
#include "../declared.h"

NONNULL_BEGIN
@protocol NSObject
- (Class)class;
- (BOOL)isKindOfClass:(Class)aClass;
@end
__attribute__((objc_root_class)) @interface NSObject <NSObject> { Class isa; }
+ (instancetype)alloc;
+ (instancetype)new;
- (instancetype)init;
+ (Class)class;
@end
NONNULL_END
#endif

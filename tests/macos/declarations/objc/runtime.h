#pragma once

#import <objc/NSObject.h>

#include <stdint.h>

/// Of the runtime's own functions, those that the program calls.

enum { OBJC_ASSOCIATION_RETAIN = 01401 };
typedef uintptr_t objc_AssociationPolicy;

#ifdef __cplusplus
extern "C"
#endif
    void
    objc_setAssociatedObject(id _Nonnull object, const void* _Nonnull key, id _Nullable value,
                             objc_AssociationPolicy policy);

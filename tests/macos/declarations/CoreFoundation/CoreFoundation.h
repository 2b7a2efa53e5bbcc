#pragma once
#include "../declared.h"

typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef const void *CFTypeRef;
typedef const struct BRIDGED_TO(NSString) __CFString *CFStringRef;
typedef const struct BRIDGED_TO(NSDictionary) __CFDictionary *CFDictionaryRef;
typedef const struct BRIDGED_TO(NSArray) __CFArray *CFArrayRef;
typedef const struct BRIDGED_TO(NSNumber) __CFNumber *CFNumberRef;
typedef const struct BRIDGED_TO(NSNumber) __CFBoolean *CFBooleanRef;
typedef struct BRIDGED_TO(id) __CFRunLoop *CFRunLoopRef;
typedef CFStringRef CFRunLoopMode;
typedef const struct BRIDGED_TO(id) __CFAllocator *CFAllocatorRef;
typedef struct { CFIndex version; const void *retain, *release, *copyDescription, *equal, *hash; } CFDictionaryKeyCallBacks;
typedef struct { CFIndex version; const void *retain, *release, *copyDescription, *equal; } CFDictionaryValueCallBacks;
enum CFNumberType : CFIndex { kCFNumberSInt64Type = 4 };

NONNULL_BEGIN OWNERSHIP_BY_NAME_BEGIN
DECLARED const CFAllocatorRef _Nullable kCFAllocatorDefault;
DECLARED const CFBooleanRef kCFBooleanTrue;
DECLARED const CFBooleanRef kCFBooleanFalse;
DECLARED const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
DECLARED const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
DECLARED CFTypeRef CFRetain(CFTypeRef object);
DECLARED void CFRelease(CFTypeRef object);
DECLARED CFIndex CFGetRetainCount(CFTypeRef object);
DECLARED CFTypeID CFGetTypeID(CFTypeRef object);
DECLARED CFTypeID CFBooleanGetTypeID(void);
DECLARED Boolean CFBooleanGetValue(CFBooleanRef boolean);
DECLARED CFNumberRef _Null_unspecified CFNumberCreate(CFAllocatorRef _Nullable allocator, CFNumberType type, const void *_Null_unspecified value);
DECLARED CFIndex CFArrayGetCount(CFArrayRef array);
DECLARED const void *_Null_unspecified CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
DECLARED const void *_Null_unspecified CFDictionaryGetValue(CFDictionaryRef dictionary, const void *_Null_unspecified key);
DECLARED CFDictionaryRef _Null_unspecified CFDictionaryCreate(CFAllocatorRef _Nullable allocator, const void *_Null_unspecified *_Null_unspecified keys, const void *_Null_unspecified *_Null_unspecified values, CFIndex count, const CFDictionaryKeyCallBacks *_Nullable keyCallBacks, const CFDictionaryValueCallBacks *_Nullable valueCallBacks);
DECLARED const CFRunLoopMode kCFRunLoopDefaultMode;
DECLARED const CFRunLoopMode kCFRunLoopCommonModes;
DECLARED CFRunLoopRef CFRunLoopGetMain(void);
#ifdef __BLOCKS__
DECLARED void CFRunLoopPerformBlock(CFRunLoopRef loop, CFTypeRef _Null_unspecified mode, void (^block)(void));
#endif
DECLARED void CFRunLoopWakeUp(CFRunLoopRef loop);
DECLARED void CFRunLoopRun(void);
DECLARED int32_t CFRunLoopRunInMode(CFRunLoopMode mode, double seconds, Boolean returnAfterSourceHandled);
DECLARED void CFRunLoopStop(CFRunLoopRef loop);
OWNERSHIP_BY_NAME_END NONNULL_END

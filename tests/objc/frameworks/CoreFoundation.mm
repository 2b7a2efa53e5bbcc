#import <CoreFoundation/CoreFoundation.h>

#include <chrono>

#include "macos/frameworks/Frameworks.h"
#include "objc/dispatch/MainLoop.h"
#include "objc/frameworks/Foundation.h"
#include "objc/runtime/Runtime.h"

/// Here, too, an object of the one kind is an object of the other. What the stand-ins that are C++
/// alone have made is counted as they count.

using vesk::fakes::MainLoop;

@interface VeskBoolean : NSNumber
@end

namespace {

struct Boolean_ {
  void* isa;
  long value;
};

vesk::objc::Object* objectOf(CFTypeRef reference) {
  return static_cast<vesk::objc::Object*>(const_cast<void*>(reference));
}

vesk::fakes::mac::Object& plainOf(CFTypeRef reference) {
  return *static_cast<vesk::fakes::mac::Object*>(const_cast<void*>(reference));
}

/// A reference may be the text itself, see `VeskTaggedString`.
bool isObject(CFTypeRef reference) {
  constexpr std::uintptr_t tag = 7;
  return (reinterpret_cast<std::uintptr_t>(reference) & tag) != 0 ||
         vesk::objc::isObject(reference);
}

extern "C" {
extern char classOfBooleans asm("._OBJC_CLASS_VeskBoolean");
}
Boolean_ yes{&classOfBooleans, 1};
Boolean_ no{&classOfBooleans, 0};

struct Loop {};
Loop mainLoop;

}  // namespace

@implementation VeskBoolean
- (NSInteger)integerValue {
  return ((__bridge const Boolean_*)self)->value;
}
@end

namespace vesk::fakes::mac {
System& system() {
  static System& only = *new System;
  return only;
}
}  // namespace vesk::fakes::mac

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&yes);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&no);
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};
const CFRunLoopMode kCFRunLoopDefaultMode = (__bridge CFStringRef) @"kCFRunLoopDefaultMode";
const CFRunLoopMode kCFRunLoopCommonModes = (__bridge CFStringRef) @"kCFRunLoopCommonModes";

CFTypeRef CFRetain(CFTypeRef reference) {
  if (isObject(reference)) return vesk::objc::retain(objectOf(reference));
  ++plainOf(reference).references;
  return reference;
}

void CFRelease(CFTypeRef reference) {
  if (isObject(reference)) return vesk::objc::release(objectOf(reference));
  if (--plainOf(reference).references == 0) delete &plainOf(reference);
}

CFIndex CFGetRetainCount(CFTypeRef reference) {
  return isObject(reference) ? vesk::objc::references(objectOf(reference))
                             : plainOf(reference).references.load();
}

CFTypeID CFBooleanGetTypeID() { return 1; }

CFTypeID CFGetTypeID(CFTypeRef reference) {
  return [(__bridge id)reference isKindOfClass:[VeskBoolean class]] ? CFBooleanGetTypeID() : 0;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return [(__bridge NSNumber*)boolean integerValue] != 0;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType, const void* value) {
  @autoreleasepool {
    return (__bridge_retained CFNumberRef)[NSNumber numberOf:*static_cast<const int64_t*>(value)];
  }
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  CFIndex count = 0;
  for (id each in (__bridge NSArray*)array) count += each != nil ? 1 : 0;
  return count;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  for (id each in (__bridge NSArray*)array) {
    if (index-- == 0) return (__bridge const void*)each;
  }
  return nullptr;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  // Without them a dictionary would hold nothing and compare addresses only.
  if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks || count != 1) return nullptr;
  if (valueCallBacks != &kCFTypeDictionaryValueCallBacks) return nullptr;
  @autoreleasepool {
    return (__bridge_retained CFDictionaryRef)[NSDictionary dictionaryOf:(__bridge id)*values
                                                                     for:(__bridge id)*keys];
  }
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  return (__bridge const void*)((__bridge NSDictionary*)dictionary)[(__bridge id)key];
}

CFRunLoopRef CFRunLoopGetMain() { return reinterpret_cast<CFRunLoopRef>(&mainLoop); }

void CFRunLoopPerformBlock(CFRunLoopRef, CFTypeRef mode, void (^block)()) {
  const bool isCommon = vesk::fakes::isEqual((__bridge id)mode, NSRunLoopCommonModes);
  MainLoop::only().perform([block] { block(); },
                           isCommon ? MainLoop::Mode::common : MainLoop::Mode::usual);
}

/// A loop finds out by itself that there is a block; the system's may sleep on.
void CFRunLoopWakeUp(CFRunLoopRef) { MainLoop::only().wake(); }
void CFRunLoopStop(CFRunLoopRef) { MainLoop::only().stop(); }
void CFRunLoopRun() {
  MainLoop::only().run([] { return false; });
}

int32_t CFRunLoopRunInMode(CFRunLoopMode, double seconds, Boolean) {
  const auto duration =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
  MainLoop::only().run([] { return false; }, std::chrono::steady_clock::now() + duration);
  return 0;
}

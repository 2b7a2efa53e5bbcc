#pragma once
// What the declarations of every framework are written with.
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
#define DECLARED extern "C"
#else
#define DECLARED extern
#endif
#ifdef __clang__
#define SINCE(version) __attribute__((availability(macos, introduced = version)))
#define UNTIL(version) __attribute__((availability(macos, introduced = 10.0, deprecated = version)))
#define NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NONNULL_END _Pragma("clang assume_nonnull end")
#define OWNERSHIP_BY_NAME_BEGIN _Pragma("clang arc_cf_code_audited begin")
#define OWNERSHIP_BY_NAME_END _Pragma("clang arc_cf_code_audited end")
#define BRIDGED_TO(class) __attribute__((objc_bridge(class)))
#else
// The files that are C++ alone run on Linux too, where another compiler may read this.
#define SINCE(version)
#define NONNULL_BEGIN
#define NONNULL_END
#define OWNERSHIP_BY_NAME_BEGIN
#define OWNERSHIP_BY_NAME_END
#define BRIDGED_TO(class)
#define _Nonnull
#define _Nullable
#define _Null_unspecified
#endif

typedef double NSTimeInterval;
#ifdef __APPLE__
#include <MacTypes.h>
#include <objc/NSObjCRuntime.h>
#else
typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef unsigned char Boolean;
typedef uint16_t UniChar;
typedef unsigned long UniCharCount;
typedef int32_t OSStatus;
typedef uint32_t FourCharCode;
typedef FourCharCode OSType;

#ifdef __OBJC__
#if __OBJC_BOOL_IS_BOOL
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no
#define nil __null
#endif
#endif

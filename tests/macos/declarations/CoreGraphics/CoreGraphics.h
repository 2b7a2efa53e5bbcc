#pragma once
#include "../CoreFoundation/CoreFoundation.h"

typedef double CGFloat;
typedef struct CGPoint { CGFloat x, y; } CGPoint;
typedef struct CGSize { CGFloat width, height; } CGSize;
typedef struct CGRect { CGPoint origin; CGSize size; } CGRect;
static inline CGPoint CGPointMake(CGFloat x, CGFloat y) { return {x, y}; }
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) { return {{x, y}, {width, height}}; }

typedef uint32_t CGDirectDisplayID;
typedef uint16_t CGKeyCode;
typedef struct BRIDGED_TO(id) CGDisplayMode *CGDisplayModeRef;
typedef struct BRIDGED_TO(id) __CGEvent *CGEventRef;
typedef struct BRIDGED_TO(id) __CGEventSource *CGEventSourceRef;
typedef struct BRIDGED_TO(id) CGColor *CGColorRef;
enum CGEventType : uint32_t { kCGEventFlagsChanged = 12 };
enum CGMouseButton : uint32_t { kCGMouseButtonLeft = 0 };
enum CGScrollEventUnit : uint32_t { kCGScrollEventUnitLine = 1 };
enum CGEventTapLocation : uint32_t { kCGHIDEventTap = 0 };
enum CGEventSourceStateID : int32_t { kCGEventSourceStateCombinedSessionState = 0, kCGEventSourceStateHIDSystemState = 1 };
enum CGEventField : uint32_t { kCGMouseEventClickState = 1, kCGMouseEventButtonNumber = 3 };
typedef uint64_t CGEventFlags;

OWNERSHIP_BY_NAME_BEGIN
DECLARED CGDirectDisplayID CGMainDisplayID(void);
DECLARED size_t CGDisplayPixelsWide(CGDirectDisplayID display);
DECLARED size_t CGDisplayPixelsHigh(CGDirectDisplayID display);
DECLARED CGRect CGDisplayBounds(CGDirectDisplayID display);
DECLARED CGDisplayModeRef _Nullable CGDisplayCopyDisplayMode(CGDirectDisplayID display) SINCE(10.6);
DECLARED size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef _Nullable mode) SINCE(10.8);
DECLARED size_t CGDisplayModeGetPixelHeight(CGDisplayModeRef _Nullable mode) SINCE(10.8);
DECLARED bool CGPreflightScreenCaptureAccess(void) SINCE(11.0);
DECLARED bool CGRequestScreenCaptureAccess(void) SINCE(11.0);
DECLARED CGEventSourceRef _Nullable CGEventSourceCreate(CGEventSourceStateID state);
DECLARED bool CGEventSourceKeyState(CGEventSourceStateID state, CGKeyCode key);
DECLARED CGEventRef _Nullable CGEventCreate(CGEventSourceRef _Nullable source);
DECLARED CGEventRef _Nullable CGEventCreateMouseEvent(CGEventSourceRef _Nullable source, CGEventType type, CGPoint location, CGMouseButton button);
DECLARED CGEventRef _Nullable CGEventCreateKeyboardEvent(CGEventSourceRef _Nullable source, CGKeyCode key, bool down);
DECLARED CGEventRef _Nullable CGEventCreateScrollWheelEvent2(CGEventSourceRef _Nullable source, CGScrollEventUnit unit, uint32_t wheels, int32_t wheel1, int32_t wheel2, int32_t wheel3) SINCE(10.13);
DECLARED CGPoint CGEventGetLocation(CGEventRef _Nullable event);
DECLARED void CGEventSetType(CGEventRef _Nullable event, CGEventType type);
DECLARED void CGEventSetFlags(CGEventRef _Nullable event, CGEventFlags flags);
DECLARED void CGEventSetIntegerValueField(CGEventRef _Nullable event, CGEventField field, int64_t value);
DECLARED void CGEventKeyboardSetUnicodeString(CGEventRef _Nullable event, UniCharCount length, const UniChar *_Nullable text);
DECLARED void CGEventPost(CGEventTapLocation tap, CGEventRef _Nullable event);
OWNERSHIP_BY_NAME_END

// refused: no matching function for call to 'CGEventCreateMouseEvent'
#import <CoreGraphics/CoreGraphics.h>

CGEventRef event(CGEventType type, CGMouseButton button) {
#ifdef MISTAKE
  return CGEventCreateMouseEvent(nullptr, button, CGPointMake(0, 0), type);
#else
  return CGEventCreateMouseEvent(nullptr, type, CGPointMake(0, 0), button);
#endif
}

// refused: implicit conversion from nullable pointer
#import <AppKit/AppKit.h>

NSRect frameOf(NSScreen* _Nonnull screen);

NSRect frame() {
#ifdef MISTAKE
  return frameOf(NSScreen.mainScreen);
#else
  NSScreen* const screen = NSScreen.mainScreen;
  return screen == nil ? NSMakeRect(0, 0, 0, 0) : frameOf(static_cast<NSScreen* _Nonnull>(screen));
#endif
}

// refused: 'activate' is only available on macOS 14.0 or newer
#import <AppKit/AppKit.h>

void comeToTheFront() {
#ifdef MISTAKE
  [NSApp activate];
#else
  [NSApp activateIgnoringOtherApps:YES];
#endif
}

// refused: null passed to a callee that requires a non-null argument
#import <AppKit/AppKit.h>

void ask(NSAlert* alert) {
#ifdef MISTAKE
  alert.messageText = nil;
#else
  alert.messageText = @"";
#endif
}

// refused: method 'applicationDidFinishLaunching:' in protocol 'NSApplicationDelegate' not implemented
#import <AppKit/AppKit.h>

@interface Delegate : NSObject <NSApplicationDelegate>
@end

@implementation Delegate
- (void)applicationWillTerminate:(NSNotification*)notification {
}
#ifndef MISTAKE
- (void)applicationDidFinishLaunching:(NSNotification*)notification {
}
#endif
@end

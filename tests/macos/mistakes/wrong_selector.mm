// refused: no known class method for selector 'getShareableContentExcludingDesktopWindows:completionHandler:'
#import <ScreenCaptureKit/ScreenCaptureKit.h>

void ask(void (^handler)(SCShareableContent*, NSError*)) {
#ifdef MISTAKE
  [SCShareableContent getShareableContentExcludingDesktopWindows:NO completionHandler:handler];
#else
  [SCShareableContent getShareableContentExcludingDesktopWindows:NO
                                             onScreenWindowsOnly:YES
                                               completionHandler:handler];
#endif
}

// refused: 'new' is unavailable
#import <ScreenCaptureKit/ScreenCaptureKit.h>

SCStreamConfiguration* configuration();

SCStream* stream(SCContentFilter* filter) {
#ifdef MISTAKE
  SCStream* const made = [SCStream new];
  return filter == nil ? nil : made;
#else
  return [[SCStream alloc] initWithFilter:filter configuration:configuration() delegate:nil];
#endif
}

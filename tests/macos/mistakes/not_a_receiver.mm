// refused: incompatible pointer types sending 'SCStream *' to parameter of type 'id<SCStreamOutput> _Nonnull'
#import <ScreenCaptureKit/ScreenCaptureKit.h>

BOOL add(SCStream* stream, id<SCStreamOutput> output, dispatch_queue_t queue) {
#ifdef MISTAKE
  const auto receiver = stream;
  (void)output;
#else
  const auto receiver = output;
#endif
  return [stream addStreamOutput:receiver
                            type:SCStreamOutputTypeScreen
              sampleHandlerQueue:queue
                           error:nil];
}

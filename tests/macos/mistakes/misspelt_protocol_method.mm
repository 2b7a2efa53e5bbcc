// refused: method 'stream:didOutputSampleBuffer:ofType:' in protocol 'SCStreamOutput' not implemented
#import <ScreenCaptureKit/ScreenCaptureKit.h>

@interface Receiver : NSObject <SCStreamOutput>
@end

@implementation Receiver
#ifdef MISTAKE
- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)buffer
                     type:(SCStreamOutputType)type {
}
#else
- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)buffer
                   ofType:(SCStreamOutputType)type {
}
#endif
@end

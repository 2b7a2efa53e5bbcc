#pragma once
#include "../CoreMedia/CoreMedia.h"
#include "../Foundation/Foundation.h"

enum SCStreamOutputType : NSInteger { SCStreamOutputTypeScreen = 0, SCStreamOutputTypeAudio SINCE(13.0) = 1 };

NONNULL_BEGIN
@class SCStream, SCWindow;
typedef NSString *SCStreamFrameInfo;
DECLARED SCStreamFrameInfo const SCStreamFrameInfoStatus SINCE(12.3);

SINCE(12.3) @protocol SCStreamOutput <NSObject>
- (void)stream:(SCStream *)stream didOutputSampleBuffer:(CMSampleBufferRef)buffer ofType:(SCStreamOutputType)type;
@end
SINCE(12.3) @protocol SCStreamDelegate <NSObject>
- (void)stream:(SCStream *)stream didStopWithError:(NSError *)error;
@end
SINCE(12.3) @interface SCDisplay : NSObject
@property (readonly) CGDirectDisplayID displayID;
@property (readonly) NSInteger width;
@property (readonly) NSInteger height;
@end
SINCE(12.3) @interface SCRunningApplication : NSObject
@property (readonly) pid_t processID;
@end
SINCE(12.3) @interface SCShareableContent : NSObject
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows onScreenWindowsOnly:(BOOL)onScreenOnly completionHandler:(void (^)(SCShareableContent *_Nullable content, NSError *_Nullable error))handler;
@property (readonly) NSArray<SCDisplay *> *displays;
@property (readonly) NSArray<SCRunningApplication *> *applications;
@end
SINCE(12.3) @interface SCContentFilter : NSObject
- (instancetype)initWithDisplay:(SCDisplay *)display excludingApplications:(NSArray<SCRunningApplication *> *)applications exceptingWindows:(NSArray<SCWindow *> *)windows;
@end
SINCE(12.3) @interface SCStreamConfiguration : NSObject
@property size_t width;
@property size_t height;
@property CMTime minimumFrameInterval;
@property OSType pixelFormat;
@property BOOL showsCursor;
@property NSInteger queueDepth;
@end
SINCE(12.3) @interface SCStream : NSObject
- (instancetype)init __attribute__((unavailable));
+ (instancetype)new __attribute__((unavailable));
- (instancetype)initWithFilter:(SCContentFilter *)filter configuration:(SCStreamConfiguration *)configuration delegate:(nullable id<SCStreamDelegate>)delegate;
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output type:(SCStreamOutputType)type sampleHandlerQueue:(nullable dispatch_queue_t)queue error:(NSError *_Nullable *_Nullable)error;
- (void)startCaptureWithCompletionHandler:(nullable void (^)(NSError *_Nullable error))handler;
- (void)stopCaptureWithCompletionHandler:(nullable void (^)(NSError *_Nullable error))handler;
@end
NONNULL_END

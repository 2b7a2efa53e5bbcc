#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>

#include "platform/macos/StreamCallbacks.h"

/// The object that a stream calls: samples on the queue that the output was added with, the
/// stream's end on a thread of the system's choosing.
@interface VeskStreamReceiver : NSObject <SCStreamOutput, SCStreamDelegate>
- (nonnull instancetype)initWithCallbacks:(std::shared_ptr<vesk::mac::StreamCallbacks>)callbacks;
@end

#include "platform/macos/MacScreenStream.h"

#import <objc/runtime.h>

#include <utility>

#include "platform/macos/DispatchQueue.h"
#include "platform/macos/NativeObject.h"
#include "platform/macos/StreamReceiver.h"
#include "platform/macos/calledOnce.h"
#include "platform/macos/guarded.h"

namespace vesk::mac {
namespace {

SCContentFilter* _Nullable systemFilter(const ContentFilter& filter) {
  auto* const display = nativeObject<SCDisplay>(filter.display.native);
  if (display == nil) return nil;
  NSMutableArray<SCRunningApplication*>* const excluded = [NSMutableArray array];
  for (const auto& application : filter.excludingApplications) {
    auto* const running = nativeObject<SCRunningApplication>(application.native);
    if (running != nil) [excluded addObject:static_cast<SCRunningApplication* _Nonnull>(running)];
  }
  return [[SCContentFilter alloc] initWithDisplay:static_cast<SCDisplay* _Nonnull>(display)
                            excludingApplications:excluded
                                 exceptingWindows:@[]];
}

SCStreamConfiguration* _Nonnull systemConfiguration(const StreamConfiguration& wanted) {
  SCStreamConfiguration* const configuration = [SCStreamConfiguration new];
  configuration.width = static_cast<size_t>(wanted.width);
  configuration.height = static_cast<size_t>(wanted.height);
  configuration.pixelFormat = static_cast<OSType>(wanted.pixelFormat);
  configuration.minimumFrameInterval = CMTimeMake(1, wanted.framesPerSecond);
  configuration.showsCursor = wanted.showsCursor ? YES : NO;
  configuration.queueDepth = wanted.queueDepth;
  return configuration;
}

/// Its address alone counts.
const char receiverKey[] = "receiver";

}  // namespace

MacScreenStream::MacScreenStream(const ContentFilter& filter,
                                 const StreamConfiguration& configuration,
                                 std::function<void(PlatformError)> onStopped)
    : callbacks_(std::make_shared<StreamCallbacks>(std::move(onStopped))),
      receiver_([[VeskStreamReceiver alloc] initWithCallbacks:callbacks_]) {
  refusal_ = guarded([&] {
    SCContentFilter* const systems = systemFilter(filter);
    if (systems == nil) return;
    stream_ = [[SCStream alloc] initWithFilter:static_cast<SCContentFilter* _Nonnull>(systems)
                                 configuration:systemConfiguration(configuration)
                                      delegate:receiver_];
    // Whether a stream holds what it calls is not documented, nor how long it lives.
    objc_setAssociatedObject(stream_, receiverKey, receiver_, OBJC_ASSOCIATION_RETAIN);
  });
}

MacScreenStream::~MacScreenStream() {
  if (mayRun_) stopCapture([](const auto&) {});
  callbacks_->disconnect();
}

std::optional<PlatformError> MacScreenStream::addOutput(Output output, SerialQueue& queue) {
  if (stream_ == nil) return orUnknown(refusal_);
  callbacks_->setOutput(std::move(output));
  BOOL added = NO;
  NSError* error = nil;
  const auto refused = guarded([&] {
    added = [stream_ addStreamOutput:receiver_
                                type:SCStreamOutputTypeScreen
                  sampleHandlerQueue:static_cast<DispatchQueue&>(queue).queue()
                               error:&error];
  });
  if (added) return std::nullopt;
  return orUnknown(refused ? refused : platformError(error));
}

void MacScreenStream::startCapture(Completion completion) {
  if (stream_ == nil) return completion(orUnknown(refusal_));
  mayRun_ = true;
  endActivity();
  const auto complete = calledOnce(std::move(completion));
  // A block written inside the lambda would hold references to what the lambda holds by reference.
  const auto answer = ^(NSError* _Nullable error) {
    complete(platformError(error));
  };
  const auto refused = guarded([&] {
    activity_ = [NSProcessInfo.processInfo
        beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                          reason:@"The screen is shown to a viewer."];
    [stream_ startCaptureWithCompletionHandler:answer];
  });
  if (refused) complete(refused);
}

/// The stream and what it calls live until the system has said that it is over.
void MacScreenStream::stopCapture(Completion completion) {
  if (stream_ == nil) return completion(orUnknown(refusal_));
  mayRun_ = false;
  const auto complete = calledOnce(std::move(completion));
  SCStream* stream = stream_;
  const auto callbacks = callbacks_;
  const auto answer = ^(NSError* _Nullable error) {
    callbacks->disconnect();
    complete(platformError(error));
    (void)stream;
  };
  const auto refused = guarded([&] {
    endActivity();
    [stream_ stopCaptureWithCompletionHandler:answer];
  });
  if (refused) complete(refused);
}

void MacScreenStream::endActivity() {
  if (activity_ != nil)
    [NSProcessInfo.processInfo endActivity:static_cast<id<NSObject> _Nonnull>(activity_)];
  activity_ = nil;
}

}  // namespace vesk::mac

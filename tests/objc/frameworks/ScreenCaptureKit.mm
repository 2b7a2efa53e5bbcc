#include "objc/frameworks/ScreenCaptureKit.h"

#include <algorithm>
#include <utility>

#include "objc/frameworks/Foundation.h"

using vesk::fakes::text;
using vesk::fakes::WindowServer;

namespace {

void throwIfAsked() {
  if (const auto& reason = WindowServer::only().throws)
    @throw [NSException exceptionOf:text(*reason)];
}

void throwAfterwardsIfAsked() {
  auto& server = WindowServer::only();
  if (!server.throwsAfterwards) return;
  server.settle();
  @throw [NSException exceptionOf:text(*server.throwsAfterwards)];
}

NSError* errorOf(const std::optional<std::string>& description) {
  return description ? [NSError errorOf:text(*description)] : nil;
}

/// Not owned: streams that have gone are gone.
std::vector<__weak SCStream*>& streams() {
  static auto& only = *new std::vector<__weak SCStream*>;
  return only;
}

}  // namespace

@implementation SCDisplay {
 @public
  vesk::fakes::SharedDisplay shared_;
}
- (CGDirectDisplayID)displayID {
  return shared_.number;
}
- (NSInteger)width {
  return shared_.width;
}
- (NSInteger)height {
  return shared_.height;
}
@end

@implementation SCRunningApplication {
 @public
  pid_t process_;
}
- (pid_t)processID {
  return process_;
}
@end

@implementation SCShareableContent {
  NSMutableArray* displays_;
  NSMutableArray* applications_;
}
- (instancetype)init {
  self = [super init];
  displays_ = [NSMutableArray array];
  applications_ = [NSMutableArray array];
  for (const auto& each : WindowServer::only().displays) {
    SCDisplay* const display = [SCDisplay new];
    display->shared_ = each;
    [displays_ addObject:display];
  }
  for (const pid_t each : WindowServer::only().applications) {
    SCRunningApplication* const application = [SCRunningApplication new];
    application->process_ = each;
    [applications_ addObject:application];
  }
  return self;
}
- (NSArray<SCDisplay*>*)displays {
  return displays_;
}
- (NSArray<SCRunningApplication*>*)applications {
  return applications_;
}
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenOnly
                                 completionHandler:
                                     (void (^)(SCShareableContent*, NSError*))handler {
  throwIfAsked();
  WindowServer::only().excludesDesktopWindows = excludeDesktopWindows;
  WindowServer::only().onScreenWindowsOnly = onScreenOnly;
  WindowServer::only().later([handler] {
    const WindowServer& server = WindowServer::only();
    NSError* const error = errorOf(server.refusesContent);
    const bool isEmpty = error != nil || server.answersNothing;
    handler(isEmpty ? nil : [SCShareableContent new], error);
  });
  throwAfterwardsIfAsked();
}
@end

@implementation SCContentFilter {
 @public
  SCDisplay* display_;
  NSArray* excluded_;
}
- (instancetype)initWithDisplay:(SCDisplay*)display
          excludingApplications:(NSArray<SCRunningApplication*>*)applications
               exceptingWindows:(NSArray<SCWindow*>*)windows {
  self = [super init];
  throwIfAsked();
  display_ = display;
  excluded_ = applications;
  return self;
}
@end

@implementation SCStreamConfiguration
@end

/// Holds neither what it calls nor itself while it runs: the system promises neither.
@implementation SCStream {
 @public
  SCContentFilter* filter_;
  SCStreamConfiguration* configuration_;
  __unsafe_unretained id<SCStreamDelegate> delegate_;
  __unsafe_unretained id<SCStreamOutput> output_;
  dispatch_queue_t queue_;
  std::atomic<bool> runs_;
}
- (instancetype)initWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
                      delegate:(id<SCStreamDelegate>)delegate {
  self = [super init];
  filter_ = filter;
  configuration_ = configuration;
  delegate_ = delegate;
  streams().push_back(self);
  return self;
}
- (SCStreamConfiguration*)configuration {
  return configuration_;
}
- (SCDisplay*)display {
  return filter_->display_;
}
- (NSArray<SCRunningApplication*>*)excluded {
  return filter_->excluded_;
}
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)queue
                  error:(NSError**)error {
  throwIfAsked();
  if (WindowServer::only().refusesOutput) {
    *error = [NSError errorOf:@"no output"];
    return NO;
  }
  output_ = output;
  queue_ = queue;
  return YES;
}
- (void)startCaptureWithCompletionHandler:(void (^)(NSError*))handler {
  throwIfAsked();
  SCStream* const held = self;
  WindowServer::only().later([held, handler] {
    NSError* const error = errorOf(WindowServer::only().refusesStart);
    held->runs_ = error == nil;
    handler(error);
  });
  throwAfterwardsIfAsked();
}
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError*))handler {
  throwIfAsked();
  ++WindowServer::only().stops;
  SCStream* const held = self;
  WindowServer::only().later([held, handler] {
    NSError* const error = held->runs_.exchange(false) ? nil : [NSError errorOf:@"does not run"];
    handler(error);
  });
  throwAfterwardsIfAsked();
}
@end

namespace vesk::fakes {

WindowServer& WindowServer::only() {
  static WindowServer& server = *new WindowServer;
  return server;
}

WindowServer::WindowServer() { worker_->start(); }

void WindowServer::reset() {
  answer();
  settle();
  displays = {SharedDisplay{}};
  applications.clear();
  refusesContent = refusesStart = throws = throwsAfterwards = std::nullopt;
  excludesDesktopWindows = onScreenWindowsOnly = std::nullopt;
  refusesOutput = answersNothing = holdsAnswersBack = false;
  stops = 0;
  streams().clear();
}

void WindowServer::settle() {
  worker_->sync([] {});
}

void WindowServer::later(Worker::Work work) {
  const std::lock_guard lock(mutex_);
  if (holdsAnswersBack) return heldBack_.push_back(std::move(work));
  worker_->async(std::move(work));
}

void WindowServer::answer() {
  const std::lock_guard lock(mutex_);
  holdsAnswersBack = false;
  for (auto& each : std::exchange(heldBack_, {})) worker_->async(std::move(each));
}

std::vector<SCStream*> WindowServer::running() {
  std::vector<SCStream*> found;
  settle();
  for (SCStream* const each : streams()) {
    if (each != nil && each->runs_) found.push_back(each);
  }
  return found;
}

void WindowServer::deliver(SCStream* stream, const ScreenSample& wanted) {
  struct Delivery {
    SCStream* stream;
    id<SCStreamOutput> output;
    SampleRef sample;
  };
  auto* const delivery = new Delivery{stream, stream->output_, made(wanted)};
  dispatch_async_f(stream->queue_, delivery, [](void* context) {
    const std::unique_ptr<Delivery> mine(static_cast<Delivery*>(context));
    [mine->output stream:mine->stream
        didOutputSampleBuffer:mine->sample.get()
                       ofType:SCStreamOutputTypeScreen];
  });
}

void WindowServer::end(SCStream* stream, const std::string& reason) {
  later([stream, reason] {
    if (!stream->runs_.exchange(false)) return;
    [stream->delegate_ stream:stream didStopWithError:[NSError errorOf:text(reason)]];
  });
}

}  // namespace vesk::fakes

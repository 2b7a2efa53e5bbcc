#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "objc/dispatch/MainLoop.h"
#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"

using vesk::fakes::desk;
using vesk::fakes::MainLoop;

namespace {

/// An alert that is up.
struct Modal {
  std::size_t buttons = 0;
  std::optional<NSModalResponse> response;
  std::optional<std::size_t> pressed;  ///< by the mouse
};

std::vector<Modal*>& modals() {
  static auto& only = *new std::vector<Modal*>;
  return only;
}

struct Monitor {
  NSEventMask mask;
  NSEvent* (^handler)(NSEvent*);
  id token;
};

std::vector<Monitor>& monitors() {
  static auto& only = *new std::vector<Monitor>;
  return only;
}

NSModalResponse responseOf(std::size_t button) {
  constexpr NSModalResponse first = 1000;
  return first + static_cast<NSModalResponse>(button);
}

void answer(NSModalResponse response) {
  if (!modals().empty() && !modals().back()->response) modals().back()->response = response;
}

}  // namespace

__kindof NSApplication* NSApp = nil;

@implementation NSEvent {
  NSEventType type_;
  NSTimeInterval timestamp_;
  unsigned short key_;
  BOOL repeats_;
}
+ (NSEvent*)made:(NSEventType)type key:(unsigned short)key at:(double)later repeats:(BOOL)repeats {
  NSEvent* const made = [NSEvent new];
  made->type_ = type;
  made->key_ = key;
  made->timestamp_ = NSProcessInfo.processInfo.systemUptime + later;
  made->repeats_ = repeats;
  return made;
}
- (NSEventType)type {
  return type_;
}
- (NSTimeInterval)timestamp {
  return timestamp_;
}
- (unsigned short)keyCode {
  return key_;
}
- (BOOL)isARepeat {
  return repeats_;
}
+ (id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask
                                   handler:(NSEvent* (^)(NSEvent*))handler {
  id const token = [NSObject new];
  monitors().push_back({mask, handler, token});
  return token;
}
+ (void)removeMonitor:(id)token {
  std::erase_if(monitors(), [&](const Monitor& each) { return each.token == token; });
}
@end

@implementation NSApplication
+ (NSApplication*)sharedApplication {
  if (NSApp == nil) NSApp = [NSApplication new];
  return NSApp;
}
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy {
  return policy == NSApplicationActivationPolicyAccessory;
}
- (void)run {
  [self.delegate applicationDidFinishLaunching:[NSNotification new]];
  MainLoop::only().run([] { return false; });
}
- (void)abortModal {
  if (desk().abortThrows) @throw [NSException exceptionOf:@"the modal loop is to end"];
  answer(NSModalResponseAbort);
}
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps {
  ++desk().activations;
}
- (void)activate {
}
@end

@implementation NSRunningApplication {
  pid_t process_;
}
+ (NSRunningApplication*)runningApplicationWithProcessIdentifier:(pid_t)process {
  if (std::ranges::find(desk().applications, process) == desk().applications.end()) return nil;
  NSRunningApplication* const made = [NSRunningApplication new];
  made->process_ = process;
  return made;
}
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
  NSMutableArray* const found = [NSMutableArray array];
  if (!vesk::fakes::isEqual(identifier, vesk::fakes::bundleIdentifier)) return found;
  for (const pid_t each : desk().applications) {
    NSRunningApplication* const made = [NSRunningApplication new];
    made->process_ = each;
    [found addObject:made];
  }
  return found;
}
- (pid_t)processIdentifier {
  return process_;
}
- (BOOL)forceTerminate {
  if (!desk().refusesToEnd) desk().ended.push_back(process_);
  return !desk().refusesToEnd;
}
@end

@implementation NSAlert {
  NSWindow* window_;
  std::vector<std::string> titles_;
}
- (instancetype)init {
  self = [super init];
  window_ = [NSWindow new];
  return self;
}
- (NSWindow*)window {
  return window_;
}
- (std::vector<std::string>)titles {
  return titles_;
}
- (NSButton*)addButtonWithTitle:(NSString*)title {
  titles_.emplace_back(title.UTF8String);
  return [[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 0, 0)];
}
- (NSModalResponse)runModal {
  ++desk().alerts;
  if (desk().alertThrows) @throw [NSException exceptionOf:@"no alert"];
  struct Up {
    explicit Up(Modal& given) { modals().push_back(&given); }
    ~Up() { modals().pop_back(); }
    Up(const Up&) = delete;
    Up& operator=(const Up&) = delete;
  };
  Modal modal{titles_.size(), std::nullopt, std::nullopt};
  const Up here(modal);
  [window_ orderFrontRegardless];
  [NSNotificationCenter.defaultCenter post:NSWindowDidBecomeKeyNotification object:window_];
  [window_ setOcclusionState:NSWindowOcclusionStateVisible];
  if (const auto onAlert = desk().onAlert) onAlert(self);
  MainLoop::only().runForAlert([&] { return modal.response.has_value(); });
  return modal.response.value_or(NSModalResponseAbort);
}
@end

namespace vesk::fakes {
namespace {

/// Whether the monitors let it through.
bool comesThrough(NSEvent* event) {
  const auto watching = monitors();
  for (const auto& each : watching) {
    if ((each.mask >> event.type & 1) == 0) continue;
    event = each.handler(event);
    if (event == nil) return false;
  }
  return true;
}

}  // namespace

Desk& desk() {
  static Desk& only = *new Desk;
  return only;
}

void Desk::reset() { *this = Desk{.screens = {{{{0, 0}, {1920, 1080}}}}}; }

void keyDown(unsigned short key, double secondsFromNow, bool isRepeat) {
  NSEvent* const event = [NSEvent made:NSEventTypeKeyDown
                                   key:key
                                    at:secondsFromNow
                               repeats:isRepeat];
  if (!comesThrough(event)) return;
  if (key == returnKey) answer(responseOf(0));
  if (key == escapeKey) answer(responseOf(1));
}

void keyUp(unsigned short key, double secondsFromNow) {
  comesThrough([NSEvent made:NSEventTypeKeyUp key:key at:secondsFromNow repeats:NO]);
}

void click(std::size_t button, double secondsFromNow) {
  const auto event = [&](NSEventType type) {
    return [NSEvent made:type key:0 at:secondsFromNow repeats:NO];
  };
  const bool isPressed = comesThrough(event(NSEventTypeLeftMouseDown));
  const bool isReleased = comesThrough(event(NSEventTypeLeftMouseUp));
  if (isPressed && isReleased) answer(responseOf(button));
}

void respond(NSModalResponse response) { answer(response); }

void quit() {
  [[NSApp delegate] applicationWillTerminate:[NSNotification new]];
  MainLoop::only().stop();
}

void soon(std::function<void()> action) { MainLoop::only().perform(std::move(action)); }

}  // namespace vesk::fakes

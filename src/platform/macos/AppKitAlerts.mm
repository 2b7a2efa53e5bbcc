#include "platform/macos/AppKitAlerts.h"

#import <AppKit/AppKit.h>

#include <utility>

#include "platform/Fatal.h"
#include "platform/macos/AlertInput.h"
#include "platform/macos/AlertText.h"
#include "platform/macos/Text.h"

namespace vesk::mac {
namespace {

class RunLoopTimer final : public ModalTimer {
 public:
  /// A modal loop runs the timers of the common modes, and no task of the main queue. No guard
  /// stands around the handler: the way in which it ends a modal loop may be an exception, which
  /// is for that loop.
  RunLoopTimer(std::chrono::nanoseconds delay, std::function<void()> handler)
      : timer_([NSTimer timerWithTimeInterval:std::chrono::duration<double>(delay).count()
                                      repeats:NO
                                        block:^(NSTimer*) {
                                          handler();
                                        }]) {
    [NSRunLoop.mainRunLoop addTimer:timer_ forMode:NSRunLoopCommonModes];
  }
  ~RunLoopTimer() override { [timer_ invalidate]; }
  RunLoopTimer(const RunLoopTimer&) = delete;
  RunLoopTimer& operator=(const RunLoopTimer&) = delete;

  void invalidate() override { [timer_ invalidate]; }

 private:
  NSTimer* timer_;
};

/// Where the loop lets the exception of its end through, or fails, nobody has agreed to anything.
NSModalResponse modalResponse(NSAlert* _Nonnull alert) {
  @try {
    return [alert runModal];
  } @catch (NSException*) {
    return NSModalResponseAbort;
  }
}

}  // namespace

class AppKitAlerts::AppKitAlert final : public Alert {
 public:
  explicit AppKitAlert(AppKitAlerts& alerts) : alerts_(alerts), alert_([[NSAlert alloc] init]) {}
  ~AppKitAlert() override { [alert_.window orderOut:nil]; }
  AppKitAlert(const AppKitAlert&) = delete;
  AppKitAlert& operator=(const AppKitAlert&) = delete;

  void setMessageText(const std::string& text) override {
    alert_.messageText = elidedParagraph(text);
  }
  void setInformativeText(const std::string& text) override {
    alert_.informativeText = elidedParagraph(text);
  }
  void addButton(const std::string& title) override {
    [alert_ addButtonWithTitle:toNSString(title)];
  }
  void setLevel(WindowLevel level) override {
    alert_.window.level = static_cast<NSWindowLevel>(level);
  }

  ModalResponse runModal() override {
    // Before there is anything that the viewer's hands could answer.
    const ShutGate shut(alerts_.inputGate_);
    const AlertInput input(alert_.window);
    ++alerts_.modal_;
    const NSModalResponse response = modalResponse(alert_);
    --alerts_.modal_;
    return static_cast<ModalResponse>(response);
  }

 private:
  AppKitAlerts& alerts_;
  NSAlert* alert_;
};

void AppKitAlerts::activateIgnoringOtherApps() {
  NSApplication* const application = NSApp;
  if (application == nil) fatal("there is no application to bring to the front");
  [application activateIgnoringOtherApps:YES];
}

std::unique_ptr<Alert> AppKitAlerts::makeAlert() { return std::make_unique<AppKitAlert>(*this); }

void AppKitAlerts::abortModal() {
  if (modal_ > 0) [NSApp abortModal];
}

std::unique_ptr<ModalTimer> AppKitAlerts::startModalTimer(std::chrono::nanoseconds delay,
                                                          std::function<void()> handler) {
  return std::make_unique<RunLoopTimer>(delay, std::move(handler));
}

}  // namespace vesk::mac

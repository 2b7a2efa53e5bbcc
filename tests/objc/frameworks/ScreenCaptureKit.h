#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "objc/dispatch/Worker.h"
#include "objc/frameworks/Media.h"

/// A stand-in for what the window server shares. It calls back on a thread of its own, and always
/// after the call that asked for it has returned.
namespace vesk::fakes {

struct SharedDisplay {
  CGDirectDisplayID number = 7;
  NSInteger width = 1920;
  NSInteger height = 1080;
};

/// Thread: any; what it does is set while nothing is asked of it.
class WindowServer {
 public:
  static WindowServer& only();

  /// As it was at first.
  void reset();

  /// Returns when it has called back whatever it was asked to.
  void settle();

  /// Does something on its own thread, once the caller has returned.
  void later(Worker::Work work);

  /// Those that run.
  std::vector<SCStream*> running();

  /// Hands a sample to the queue that the stream's output was added with.
  static void deliver(SCStream* stream, const ScreenSample& sample);

  /// The stream ends by itself.
  void end(SCStream* stream, const std::string& reason);

  std::vector<SharedDisplay> displays;
  std::vector<pid_t> applications;
  std::optional<std::string> refusesContent;  ///< the error's text
  std::optional<std::string> refusesStart;
  std::optional<std::string> throws;  ///< the reason of what every call throws
  /// The same, by calls that ask for an answer, and once they have taken the question; unless
  /// answers are held back, it has been answered by then.
  std::optional<std::string> throwsAfterwards;
  /// What the last question for the content was about.
  std::optional<bool> excludesDesktopWindows;
  std::optional<bool> onScreenWindowsOnly;
  bool refusesOutput = false;
  bool answersNothing = false;  ///< neither content nor error
  bool holdsAnswersBack = false;
  std::atomic<int> stops = 0;  ///< how often a stream was told to stop

  /// What was held back is said now.
  void answer();

 private:
  WindowServer();

  std::mutex mutex_;
  std::vector<Worker::Work> heldBack_;
  std::shared_ptr<Worker> worker_ = std::make_shared<Worker>();
};

}  // namespace vesk::fakes

/// As the program has set them.
@interface SCStream (Vesk)
- (SCStreamConfiguration*)configuration;
- (SCDisplay*)display;
- (NSArray<SCRunningApplication*>*)excluded;
@end

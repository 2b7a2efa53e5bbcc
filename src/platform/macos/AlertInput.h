#pragma once

#import <AppKit/AppKit.h>

#include <memory>

#include "platform/DeliberateAct.h"

namespace vesk::mac {

/// Lets only those keys and clicks through to an alert that are deliberate acts of the person.
///
/// Thread: main. Owns: its place among the receivers of events and notifications, given up at the
/// end of its life. It comes before the window is shown. Fails: where the system tells of neither
/// key window nor visibility nothing counts, and the alert can be closed only by its time-out.
class AlertInput {
 public:
  explicit AlertInput(NSWindow* _Nonnull window);
  ~AlertInput();
  AlertInput(const AlertInput&) = delete;
  AlertInput& operator=(const AlertInput&) = delete;

 private:
  void follow(NSNotificationName _Nonnull name, void (AlertInput::*_Nonnull happened)());
  void becameKey();
  void resignedKey();
  void changedVisibility();
  void moved();
  bool reachesAlert(NSEvent* _Nonnull event);

  NSWindow* _Nonnull window_;
  NSMutableArray<id<NSObject>>* _Nonnull observers_;
  id _Nullable monitor_;
  DeliberateAct act_;
  /// What the system keeps holds this weakly: it may still be calling when it is asked to forget.
  std::shared_ptr<AlertInput*> self_ = std::make_shared<AlertInput*>(this);
};

}  // namespace vesk::mac

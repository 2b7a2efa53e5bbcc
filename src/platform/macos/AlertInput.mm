#include "platform/macos/AlertInput.h"

#include <chrono>

namespace vesk::mac {
namespace {

using Time = DeliberateAct::Time;

/// Events, too, are stamped by the time since the system started.
Time time(NSTimeInterval sinceStart) {
  return std::chrono::duration_cast<Time>(std::chrono::duration<double>(sinceStart));
}

Time now() { return time(NSProcessInfo.processInfo.systemUptime); }

/// By hardware, or by a program that posts for its session alone.
DeliberateAct::Keys heldKeys() {
  constexpr CGKeyCode keyCodes = 128;
  DeliberateAct::Keys held;
  for (CGKeyCode key = 0; key < keyCodes; ++key) {
    held[key] = CGEventSourceKeyState(kCGEventSourceStateHIDSystemState, key) ||
                CGEventSourceKeyState(kCGEventSourceStateCombinedSessionState, key);
  }
  return held;
}

}  // namespace

AlertInput::AlertInput(NSWindow* window) : window_(window), observers_([NSMutableArray array]) {
  follow(NSWindowDidBecomeKeyNotification, &AlertInput::becameKey);
  follow(NSWindowDidResignKeyNotification, &AlertInput::resignedKey);
  follow(NSWindowDidChangeOcclusionStateNotification, &AlertInput::changedVisibility);
  follow(NSWindowDidMoveNotification, &AlertInput::moved);
  follow(NSWindowDidResizeNotification, &AlertInput::moved);
  const NSEventMask hands =
      NSEventMaskKeyDown | NSEventMaskKeyUp | NSEventMaskLeftMouseDown | NSEventMaskLeftMouseUp;
  // Before any key equivalent, the default button's Return among them, is looked for.
  const std::weak_ptr<AlertInput*> weak = self_;
  monitor_ = [NSEvent addLocalMonitorForEventsMatchingMask:hands
                                                   handler:^NSEvent*(NSEvent* event) {
                                                     const auto self = weak.lock();
                                                     if (!self || (*self)->reachesAlert(event))
                                                       return event;
                                                     return nil;
                                                   }];
}

AlertInput::~AlertInput() {
  if (monitor_ != nil) [NSEvent removeMonitor:static_cast<id _Nonnull>(monitor_)];
  for (id<NSObject> observer in observers_) {
    [NSNotificationCenter.defaultCenter removeObserver:observer];
  }
}

void AlertInput::follow(NSNotificationName name, void (AlertInput::*happened)()) {
  const std::weak_ptr<AlertInput*> weak = self_;
  id<NSObject> const observer =
      [NSNotificationCenter.defaultCenter addObserverForName:name
                                                      object:window_
                                                       queue:nil
                                                  usingBlock:^(NSNotification*) {
                                                    const auto self = weak.lock();
                                                    if (self) ((*self)->*happened)();
                                                  }];
  [observers_ addObject:observer];
}

void AlertInput::becameKey() {
  act_.comesIntoSight();
  act_.getsFocus(heldKeys());
  act_.confirm(now());
}

void AlertInput::resignedKey() { act_.losesFocus(); }

void AlertInput::changedVisibility() {
  if ((window_.occlusionState & NSWindowOcclusionStateVisible) == 0) return act_.goesOutOfSight();
  act_.comesIntoSight();
  act_.confirm(now());
}

void AlertInput::moved() {
  act_.moves();
  act_.confirm(now());
}

bool AlertInput::reachesAlert(NSEvent* event) {
  switch (event.type) {
    case NSEventTypeKeyDown:
      return act_.keyGoesDown(event.keyCode, time(event.timestamp)) && !event.ARepeat;
    case NSEventTypeKeyUp:
      return act_.keyGoesUp(event.keyCode, time(event.timestamp));
    case NSEventTypeLeftMouseDown:
      return act_.buttonGoesDown(time(event.timestamp));
    case NSEventTypeLeftMouseUp:
      // A button that was pressed reads its release itself; any other finds nothing pressed.
      act_.buttonGoesUp();
      return true;
    default:
      return true;
  }
}

}  // namespace vesk::mac

#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/WindowLevel.h"

namespace vesk {

/// How a modal loop ended; the values are the Mac's own.
enum class ModalResponse : int {
  abort = -1001,
  alertFirstButtonReturn = 1000,
  alertSecondButtonReturn = 1001,
};

/// Thread: main. Owns: its window, which is gone when the object is. Fails: never; closing it by
/// other means than a button answers like the second button.
///
/// A message with buttons, looking as the system's own alerts do. Nothing in a text is markup, and
/// each text is one paragraph: one too long for the window loses characters from its middle, so
/// that the buttons stay on the screen.
class Alert {
 public:
  virtual ~Alert() = default;

  virtual void setMessageText(const std::string& text) = 0;
  virtual void setInformativeText(const std::string& text) = 0;

  /// The first button is the default one.
  virtual void addButton(const std::string& title) = 0;
  virtual void setLevel(WindowLevel level) = 0;

  /// Shows the alert and runs a nested loop until a button is chosen or the loop is aborted. Tasks
  /// of the main queue wait meanwhile.
  virtual ModalResponse runModal() = 0;
};

/// Thread: main. A one-shot timer that fires inside modal loops too.
class ModalTimer {
 public:
  /// A timer that has not fired by then does not fire any more.
  virtual ~ModalTimer() = default;

  /// The timer does not fire any more; harmless when it has fired.
  virtual void invalidate() = 0;
};

/// Thread: main. Owns: nothing of what it makes; outlives it.
class Alerts {
 public:
  virtual ~Alerts() = default;

  /// Brings this program to the front, whatever the person works in. Without an application object
  /// there is nothing to bring: that is a programming error and ends the process.
  virtual void activateIgnoringOtherApps() = 0;

  virtual std::unique_ptr<Alert> makeAlert() = 0;

  /// Ends the innermost modal loop with `ModalResponse::abort`; does nothing where none runs.
  virtual void abortModal() = 0;

  virtual std::unique_ptr<ModalTimer> startModalTimer(std::chrono::nanoseconds delay,
                                                      std::function<void()> handler) = 0;
};

}  // namespace vesk

#pragma once

#include <QApplication>
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Application.h"
#include "platform/posix/SignalPipe.h"

namespace vesk::loop {

/// Qt's application object and main loop. Thread: main. Throws nothing: whether there is a display
/// is found out before.
class QtApplication final : public Application {
 public:
  /// `plugin` is how Qt reaches windows: "xcb", or "offscreen" where it shall have none.
  explicit QtApplication(std::string plugin);

  void setActivationPolicy(ActivationPolicy policy) override;
  void setDelegate(ApplicationDelegate& delegate) override { delegate_ = &delegate; }
  void run() override;

  /// The end of the process is asked for, as by a signal, as soon as that is true of a descriptor
  /// that has become readable. The descriptor outlives this object.
  void endWhen(int descriptor, std::function<bool()> isOver);

 private:
  void takeEndSignals();
  void askForTheEnd(QSocketNotifier& notifier);

  /// Qt keeps references to its arguments, so they live here, before the application that reads
  /// them.
  std::string name_ = "vesk-remote";
  std::string platformOption_ = "-platform";
  std::string platform_;
  char* arguments_[4] = {name_.data(), platformOption_.data(), platform_.data(), nullptr};
  int argumentCount_ = 3;
  QApplication application_;
  ApplicationDelegate* delegate_ = nullptr;
  std::optional<SignalPipe> endSignals_;
  std::unique_ptr<QSocketNotifier> endNotifier_;
  std::unique_ptr<QSocketNotifier> overNotifier_;
};

}  // namespace vesk::loop

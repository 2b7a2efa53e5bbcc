#pragma once

#include "platform/linux/alert/AlertStage.h"
#include "platform/linux/x11/beneath/OwnWindows.h"

namespace vesk::x11::alert {

/// Alerts as windows of an X server, which a window manager places and frames. Thread: main.
class XAlertStage final : public vesk::alert::AlertStage {
 public:
  /// `ownWindows` learns of every alert in sight; it outlives this object.
  explicit XAlertStage(beneath::OwnWindows& ownWindows) : ownWindows_(ownWindows) {}

  QSize room() const override;
  std::unique_ptr<Scene> set(vesk::alert::AlertDialog& dialog, bool comesToFront) override;

 private:
  beneath::OwnWindows& ownWindows_;
};

}  // namespace vesk::x11::alert

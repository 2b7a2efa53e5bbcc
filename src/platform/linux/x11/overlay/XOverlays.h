#pragma once

#include <memory>

#include "platform/Overlays.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/overlay/OverlayStack.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

/// Overlay windows on an X server. A point is one pixel, or more where the person has the desktop
/// scaled. Nothing is asked of the server while no overlay exists, other than which screens there
/// are. Thread: main, with an application object. Owns: its connection, from the start, so that a
/// session that has taken the last descriptor still shows its banner.
class XOverlays final : public Overlays {
 public:
  /// `ownWindows` learns of every window and outlives this object.
  explicit XOverlays(beneath::OwnWindows& ownWindows) : ownWindows_(ownWindows) {}

  std::vector<Screen> screens() override;
  std::optional<Screen> mainScreen() override;
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;

 private:
  beneath::OwnWindows& ownWindows_;
  server::Connection connection_;
  std::weak_ptr<OverlayStack> stack_;
};

}  // namespace vesk::x11::overlay

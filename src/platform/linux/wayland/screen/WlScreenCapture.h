#pragma once

#include "platform/ScreenCapture.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::wayland::screen {

/// The outputs of the compositor as what can be shared. It tells of no other program's windows, so
/// the list of applications holds this program alone; where it is to be left out, so are its
/// surfaces: what lies beneath them is shown. Completions run before the call returns.
class WlScreenCapture final : public ScreenCapture {
 public:
  /// `ownSurfaces` outlives this object and its streams, `watched` this object.
  WlScreenCapture(const beneath::OwnSurfaces& ownSurfaces, stream::WatchedDisplay& watched)
      : ownSurfaces_(ownSurfaces), watched_(watched) {}

  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;

 private:
  const beneath::OwnSurfaces& ownSurfaces_;
  stream::WatchedDisplay& watched_;
};

}  // namespace vesk::wayland::screen

#pragma once

#include "platform/Processes.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::screen {

/// The monitors of the X server as what can be shared. X has no applications, so the list of them
/// holds this program alone; where it is to be left out, so are its windows: what lies beneath them
/// is shown. Completions run before the call returns.
class XScreenCapture final : public ScreenCapture {
 public:
  /// `ownWindows` outlives this object and its streams, the others this object.
  XScreenCapture(const beneath::OwnWindows& ownWindows, stream::WatchedDisplay& watched,
                 const server::Connection& connection)
      : ownWindows_(ownWindows), watched_(watched), connection_(connection) {}

  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;

 private:
  const beneath::OwnWindows& ownWindows_;
  stream::WatchedDisplay& watched_;
  const server::Connection& connection_;
};

}  // namespace vesk::x11::screen

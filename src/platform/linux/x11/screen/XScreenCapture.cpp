#include "platform/linux/x11/screen/XScreenCapture.h"

#include <unistd.h>

#include <utility>

#include "platform/linux/stream/ThreadedStream.h"
#include "platform/linux/stream/leavesOutThisProgram.h"
#include "platform/linux/x11/screen/MonitorImages.h"
#include "platform/linux/x11/screen/streamErrors.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/grants.h"

namespace vesk::x11::screen {

void XScreenCapture::shareableContent(Content completion) {
  if (!connection_) return completion(std::nullopt, streamError::serverGone);
  if (!server::grantsScreenCapture(connection_)) {
    return completion(std::nullopt, streamError::notReadable);
  }
  ShareableContent content;
  for (const auto& monitor : server::monitors(connection_)) {
    content.displays.push_back({monitor.output, monitor.width, monitor.height});
  }
  content.applications.push_back({::getpid()});
  completion(std::move(content), std::nullopt);
}

std::unique_ptr<ScreenStream> XScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  auto images = std::make_unique<MonitorImages>(
      filter.display, configuration, stream::leavesOutThisProgram(filter) ? &ownWindows_ : nullptr);
  return std::make_unique<stream::ThreadedStream>(std::move(images), configuration.framesPerSecond,
                                                  std::move(onStopped),
                                                  watched_.hold(filter.display.displayID));
}

}  // namespace vesk::x11::screen

#include "platform/linux/x11/XScreenCapture.h"

#include <unistd.h>

#include <utility>

#include "platform/linux/x11/Randr.h"
#include "platform/linux/x11/XScreenStream.h"

namespace vesk::x11 {

void XScreenCapture::shareableContent(Content completion) {
  const Connection connection;
  if (!connection) return completion(std::nullopt, PlatformError{"The X server is gone."});
  ShareableContent content;
  for (const auto& monitor : monitors(connection)) {
    content.displays.push_back({monitor.output, monitor.width, monitor.height});
  }
  content.applications.push_back({::getpid()});
  completion(std::move(content), std::nullopt);
}

std::unique_ptr<ScreenStream> XScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  return std::make_unique<XScreenStream>(filter, configuration, ownWindows_, std::move(onStopped));
}

}  // namespace vesk::x11

#include "platform/linux/wayland/screen/WlScreenCapture.h"

#include <unistd.h>

#include <cmath>
#include <utility>

#include "platform/linux/stream/ThreadedStream.h"
#include "platform/linux/stream/leavesOutThisProgram.h"
#include "platform/linux/wayland/screen/OutputImages.h"
#include "platform/linux/wayland/screen/streamErrors.h"

namespace vesk::wayland::screen {

void WlScreenCapture::shareableContent(Content completion) {
  server::Connection connection;
  if (!connection) return completion(std::nullopt, streamError::compositorGone);
  if (!OutputCopier(connection, nullptr, /*showsCursor=*/false))
    return completion(std::nullopt, streamError::notReadable);
  ShareableContent content;
  for (const auto& output : server::OutputList(connection).current()) {
    content.displays.push_back(
        {output.id, std::llround(output.area.width), std::llround(output.area.height)});
  }
  content.applications.push_back({::getpid()});
  completion(std::move(content), std::nullopt);
}

std::unique_ptr<ScreenStream> WlScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  auto images = std::make_unique<OutputImages>(
      filter.display, configuration,
      stream::leavesOutThisProgram(filter) ? &ownSurfaces_ : nullptr);
  return std::make_unique<stream::ThreadedStream>(std::move(images), configuration.framesPerSecond,
                                                  std::move(onStopped));
}

}  // namespace vesk::wayland::screen

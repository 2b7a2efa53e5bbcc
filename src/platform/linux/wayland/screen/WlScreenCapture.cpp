#include "platform/linux/wayland/screen/WlScreenCapture.h"

#include <utility>

#include "platform/linux/stream/ThreadedStream.h"
#include "platform/linux/stream/leavesOutThisProgram.h"
#include "platform/linux/wayland/screen/OutputImages.h"
#include "platform/linux/wayland/screen/streamErrors.h"
#include "platform/linux/wayland/server/shareableOutputs.h"

namespace vesk::wayland::screen {

void WlScreenCapture::shareableContent(Content completion) {
  server::Connection connection;
  if (!connection) return completion(std::nullopt, streamError::compositorGone);
  if (!OutputCopier(connection, nullptr, /*showsCursor=*/false))
    return completion(std::nullopt, streamError::notReadable);
  completion(server::shareableOutputs(connection), std::nullopt);
}

std::unique_ptr<ScreenStream> WlScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  auto images = std::make_unique<OutputImages>(
      filter.display, configuration,
      stream::leavesOutThisProgram(filter) ? &ownSurfaces_ : nullptr);
  return std::make_unique<stream::ThreadedStream>(std::move(images), configuration.framesPerSecond,
                                                  std::move(onStopped),
                                                  watched_.hold(filter.display.displayID));
}

}  // namespace vesk::wayland::screen

#include "platform/linux/portal/screen/PortalScreenCapture.h"

#include <utility>

#include "platform/linux/portal/screen/PortalStream.h"
#include "platform/linux/stream/leavesOutThisProgram.h"
#include "platform/linux/wayland/server/shareableOutputs.h"

namespace vesk::portal::screen {

void PortalScreenCapture::shareableContent(Content completion) {
  wayland::server::Connection connection;
  if (!connection) return completion(std::nullopt, wayland::server::compositorGone);
  completion(wayland::server::shareableOutputs(connection), std::nullopt);
}

std::unique_ptr<ScreenStream> PortalScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  auto made = std::make_unique<PortalStream>(
      strokes_, filter.display.displayID, configuration,
      stream::leavesOutThisProgram(filter) ? &ownSurfaces_ : nullptr, std::move(onStopped));
  const std::lock_guard lock(mutex_);
  withdrawal_ = made->withdrawal();
  return made;
}

void PortalScreenCapture::withdrawQuestion() {
  std::function<void()> withdrawal;
  {
    const std::lock_guard lock(mutex_);
    withdrawal = withdrawal_;
  }
  if (withdrawal) withdrawal();
}

}  // namespace vesk::portal::screen

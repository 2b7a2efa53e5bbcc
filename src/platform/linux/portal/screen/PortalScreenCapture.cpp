#include "platform/linux/portal/screen/PortalScreenCapture.h"

#include <unistd.h>

#include <utility>

#include "platform/linux/portal/screen/PortalStream.h"
#include "platform/linux/stream/leavesOutThisProgram.h"
#include "platform/linux/wayland/server/shareableOutputs.h"

namespace vesk::portal::screen {
namespace {

/// What a display carries with it.
using Shared = const std::shared_ptr<Share>;

ShareableContent contentOf(const std::shared_ptr<Share>& share) {
  auto display = wayland::server::shareableDisplay(share->chosen());
  display.native = std::make_shared<Shared>(share);
  return {{display}, {{::getpid()}}};
}

}  // namespace

PortalScreenCapture::~PortalScreenCapture() { withdrawQuestions(); }

std::shared_ptr<Share> PortalScreenCapture::makeShare() {
  auto made = std::make_shared<Share>(strokes_, gate_, watched_);
  const std::lock_guard lock(mutex_);
  std::erase_if(shares_, [](const auto& share) { return share.expired(); });
  shares_.push_back(made);
  return made;
}

/// Who waits for the answer keeps the share.
void PortalScreenCapture::shareableContent(Content completion) {
  const auto share = makeShare();
  share->ask([share, completion = std::move(completion)](const auto& error) {
    if (error) return completion(std::nullopt, error);
    completion(contentOf(share), std::nullopt);
  });
}

std::unique_ptr<ScreenStream> PortalScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(PlatformError)> onStopped) {
  return std::make_unique<PortalStream>(
      *std::static_pointer_cast<Shared>(filter.display.native),
      Share::Showing{.configuration = configuration,
                     .leftOut = stream::leavesOutThisProgram(filter) ? &ownSurfaces_ : nullptr,
                     .onStopped = std::move(onStopped)});
}

void PortalScreenCapture::withdrawQuestions() {
  std::vector<std::weak_ptr<Share>> shares;
  {
    const std::lock_guard lock(mutex_);
    shares = shares_;
  }
  for (const auto& each : shares) {
    if (const auto share = each.lock()) share->withdraw();
  }
}

}  // namespace vesk::portal::screen

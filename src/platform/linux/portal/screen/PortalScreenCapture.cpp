#include "platform/linux/portal/screen/PortalScreenCapture.h"

#include <utility>

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
      strokes_, gate_, filter.display.displayID, configuration,
      stream::leavesOutThisProgram(filter) ? &ownSurfaces_ : nullptr, std::move(onStopped));
  const std::lock_guard lock(mutex_);
  std::erase_if(questions_, [](const auto& question) { return question.expired(); });
  questions_.push_back(made->question());
  return made;
}

void PortalScreenCapture::withdrawQuestions() {
  std::vector<std::weak_ptr<Question>> questions;
  {
    const std::lock_guard lock(mutex_);
    questions = questions_;
  }
  for (const auto& each : questions) {
    if (const auto question = each.lock()) question->withdraw();
  }
}

}  // namespace vesk::portal::screen

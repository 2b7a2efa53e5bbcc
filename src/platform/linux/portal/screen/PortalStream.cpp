#include "platform/linux/portal/screen/PortalStream.h"

#include <utility>

namespace vesk::portal::screen {

PortalStream::~PortalStream() {
  share_->stop([](const auto&) {});
}

std::optional<PlatformError> PortalStream::addOutput(Output output, SerialQueue& queue) {
  showing_.output = std::move(output);
  showing_.queue = &queue;
  return std::nullopt;
}

void PortalStream::startCapture(Completion completion) {
  share_->show(std::move(showing_), std::move(completion));
}

void PortalStream::stopCapture(Completion completion) { share_->stop(completion); }

}  // namespace vesk::portal::screen

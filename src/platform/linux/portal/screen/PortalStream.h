#pragma once

#include <memory>

#include "platform/ScreenCapture.h"
#include "platform/linux/portal/screen/Share.h"

namespace vesk::portal::screen {

/// What the person has let the viewer see, as a stream of images that lasts as long as the session
/// does; see `ScreenStream`. The viewer's strokes go to that session, if the person lets them.
class PortalStream final : public ScreenStream {
 public:
  PortalStream(std::shared_ptr<Share> share, Share::Showing showing)
      : share_(std::move(share)), showing_(std::move(showing)) {}
  ~PortalStream() override;
  PortalStream(const PortalStream&) = delete;
  PortalStream& operator=(const PortalStream&) = delete;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  const std::shared_ptr<Share> share_;
  Share::Showing showing_;
};

}  // namespace vesk::portal::screen

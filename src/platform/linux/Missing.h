#pragma once

#include "platform/Alerts.h"
#include "platform/Compression.h"
#include "platform/Overlays.h"
#include "platform/ScreenCapture.h"

/// What this platform cannot do yet, refused by each interface's own way of refusing: a session
/// fails to start and the agent is told why, and nobody is taken to have consented. Thread: any.
/// Owns: nothing.
namespace vesk::missing {

class ScreenCapture final : public vesk::ScreenCapture {
 public:
  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;
};

class Compression final : public vesk::Compression {
 public:
  Result makeH264Session(const CompressionSpecification& specification) override;
};

class Alerts final : public vesk::Alerts {
 public:
  void activateIgnoringOtherApps() override {}
  std::unique_ptr<Alert> makeAlert() override;
  void abortModal() override {}
  std::unique_ptr<ModalTimer> startModalTimer(std::chrono::nanoseconds delay,
                                              std::function<void()> handler) override;
};

class Overlays final : public vesk::Overlays {
 public:
  std::vector<Screen> screens() override { return {}; }
  std::optional<Screen> mainScreen() override { return std::nullopt; }
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;
};

}  // namespace vesk::missing

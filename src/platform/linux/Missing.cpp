#include "platform/linux/Missing.h"

#include "platform/Fatal.h"

namespace vesk::missing {
namespace {

constexpr auto sentence = "This version cannot record the screen on this system.";

/// Nobody can see it, so nobody says yes.
class UnseenAlert final : public Alert {
 public:
  void setMessageText(const std::string&) override {}
  void setInformativeText(const std::string&) override {}
  void addButton(const std::string&) override {}
  void setLevel(WindowLevel) override {}
  ModalResponse runModal() override { return ModalResponse::abort; }
};

class UnneededTimer final : public ModalTimer {
 public:
  void invalidate() override {}
};

}  // namespace

void ScreenCapture::shareableContent(Content completion) {
  completion(std::nullopt, PlatformError{sentence});
}

std::unique_ptr<ScreenStream> ScreenCapture::makeStream(const ContentFilter&,
                                                        const StreamConfiguration&,
                                                        std::function<void(PlatformError)>) {
  fatal("a stream was asked for where nothing can be shared");
}

Compression::Result Compression::makeH264Session(const CompressionSpecification&) {
  return {-1, nullptr};
}

std::unique_ptr<Alert> Alerts::makeAlert() { return std::make_unique<UnseenAlert>(); }

std::unique_ptr<ModalTimer> Alerts::startModalTimer(std::chrono::nanoseconds,
                                                    std::function<void()>) {
  return std::make_unique<UnneededTimer>();
}

std::unique_ptr<Overlay> Overlays::makeOverlay(const OverlayAppearance&) {
  fatal("an overlay was asked for where there is no screen");
}

}  // namespace vesk::missing

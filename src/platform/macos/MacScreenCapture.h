#pragma once

#include "platform/ScreenCapture.h"

namespace vesk::mac {

/// What the window server shares with this program. Thread, failure: as `ScreenCapture` says.
class MacScreenCapture final : public ScreenCapture {
 public:
  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;
};

}  // namespace vesk::mac

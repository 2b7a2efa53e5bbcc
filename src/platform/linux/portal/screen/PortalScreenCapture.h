#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/InputGate.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/portal/screen/PortalStream.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::screen {

/// The compositor's outputs as what can be shared, of which the person chooses when a stream of one
/// is started. It tells of no other program's windows, so the list of applications holds this
/// program alone. Completions run before the call returns.
class PortalScreenCapture final : public ScreenCapture {
 public:
  /// The gate is shut while a question stands open. It and `ownSurfaces` outlive this object and
  /// its streams.
  PortalScreenCapture(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate,
                      const wayland::beneath::OwnSurfaces& ownSurfaces)
      : strokes_(std::move(strokes)), gate_(gate), ownSurfaces_(ownSurfaces) {}

  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;

  void withdrawQuestions() override;

 private:
  const std::shared_ptr<session::StrokeQueue> strokes_;
  InputGate& gate_;
  const wayland::beneath::OwnSurfaces& ownSurfaces_;
  std::mutex mutex_;
  std::vector<std::weak_ptr<Question>> questions_;  ///< of the streams that were made
};

}  // namespace vesk::portal::screen

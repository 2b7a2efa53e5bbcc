#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::screen {

/// The compositor's outputs as what can be shared, of which the person chooses when a stream of one
/// is started. It tells of no other program's windows, so the list of applications holds this
/// program alone. Completions run before the call returns.
class PortalScreenCapture final : public ScreenCapture {
 public:
  /// `ownSurfaces` outlives this object and its streams.
  PortalScreenCapture(std::shared_ptr<session::StrokeQueue> strokes,
                      const wayland::beneath::OwnSurfaces& ownSurfaces)
      : strokes_(std::move(strokes)), ownSurfaces_(ownSurfaces) {}

  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;

  /// Takes back the question of the stream that was made last, if that stands open.
  void withdrawQuestion();

 private:
  const std::shared_ptr<session::StrokeQueue> strokes_;
  const wayland::beneath::OwnSurfaces& ownSurfaces_;
  std::mutex mutex_;
  std::function<void()> withdrawal_;  ///< of the stream that was made last
};

}  // namespace vesk::portal::screen

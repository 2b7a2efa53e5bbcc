#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/InputGate.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/portal/screen/Share.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::screen {

/// What can be shared is what the person chooses when the desktop asks them for it, which it does
/// whenever that is wanted to be known. No more is there to make streams of; the session that has
/// begun by then ends with what tells of it and the stream that was made of that. It tells of no
/// other program's windows, so the list of applications holds this program alone.
class PortalScreenCapture final : public ScreenCapture {
 public:
  /// The gate is shut while a question stands open. It and `ownSurfaces` outlive this object and
  /// its streams, so does `watched`.
  PortalScreenCapture(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate,
                      const wayland::beneath::OwnSurfaces& ownSurfaces,
                      stream::WatchedDisplay& watched)
      : strokes_(std::move(strokes)), gate_(gate), ownSurfaces_(ownSurfaces), watched_(watched) {}

  /// Withdraws the questions.
  ~PortalScreenCapture() override;
  PortalScreenCapture(const PortalScreenCapture&) = delete;
  PortalScreenCapture& operator=(const PortalScreenCapture&) = delete;

  void shareableContent(Content completion) override;
  std::unique_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::function<void(PlatformError)> onStopped) override;

  void withdrawQuestions() override;

 private:
  std::shared_ptr<Share> makeShare();

  const std::shared_ptr<session::StrokeQueue> strokes_;
  InputGate& gate_;
  const wayland::beneath::OwnSurfaces& ownSurfaces_;
  stream::WatchedDisplay& watched_;
  std::mutex mutex_;
  std::vector<std::weak_ptr<Share>> shares_;
};

}  // namespace vesk::portal::screen

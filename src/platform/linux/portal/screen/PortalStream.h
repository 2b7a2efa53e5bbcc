#pragma once

#include <functional>
#include <memory>

#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::screen {

/// What the person shares, as a stream that begins with the desktop's own question and ends with
/// the session that the answer has begun; see `ScreenStream`. The viewer's strokes go to that
/// session for as long as it stands, if the person lets them.
class PortalStream final : public ScreenStream {
 public:
  /// What `filter` names is the display that was meant; the person may choose another, whose
  /// picture is brought to the size that was configured. `leftOut`, which outlives the object,
  /// tells of the surfaces that images are made without.
  PortalStream(std::shared_ptr<session::StrokeQueue> strokes, DisplayId display,
               const StreamConfiguration& configuration,
               const wayland::beneath::OwnSurfaces* leftOut,
               std::function<void(PlatformError)> onStopped);
  ~PortalStream() override;
  PortalStream(const PortalStream&) = delete;
  PortalStream& operator=(const PortalStream&) = delete;

  /// Takes back the desktop's question, if that stands open: the start fails. To be called on any
  /// thread, also after the stream is gone.
  std::function<void()> withdrawal() const;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  class Run;

  std::shared_ptr<Run> run_;
};

}  // namespace vesk::portal::screen

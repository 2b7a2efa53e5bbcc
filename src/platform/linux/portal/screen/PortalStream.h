#pragma once

#include <functional>
#include <memory>

#include "platform/InputGate.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::screen {

/// What the desktop asks the person, up to the first picture of what they have agreed to.
class Question {
 public:
  virtual ~Question() = default;

  /// Takes it back, if the start is still under way: it fails. Thread: any.
  virtual void withdraw() = 0;
};

/// What the person shares, as a stream that begins with the desktop's own question and ends with
/// the session that the answer has begun; see `ScreenStream`. The viewer's strokes go to that
/// session for as long as it stands, if the person lets them.
class PortalStream final : public ScreenStream {
 public:
  /// What `filter` names is the display that was meant; the person may choose another, whose
  /// picture is brought to the size that was configured. The gate is shut while the question
  /// stands open. `leftOut` tells of the surfaces that images are made without. Both outlive the
  /// object.
  PortalStream(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate, DisplayId display,
               const StreamConfiguration& configuration,
               const wayland::beneath::OwnSurfaces* leftOut,
               std::function<void(PlatformError)> onStopped);
  ~PortalStream() override;
  PortalStream(const PortalStream&) = delete;
  PortalStream& operator=(const PortalStream&) = delete;

  /// Gone with the stream.
  std::weak_ptr<Question> question() const;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  class Run;

  std::shared_ptr<Run> run_;
};

}  // namespace vesk::portal::screen

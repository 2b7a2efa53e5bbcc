#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/macos/Retained.h"

namespace vesk::mac {

/// Posts events where the hardware's own enter the system. Without the accessibility grant the
/// system drops them in silence.
///
/// While the gate is closed nothing is pressed, moved or typed; what is held can be let go.
/// Thread, failure: as `EventPoster` says.
class MacEventPoster final : public EventPoster {
 public:
  /// The gate outlives this object.
  explicit MacEventPoster(const InputGate& gate);

  void post(const MouseEvent& event) override;
  void post(const KeyboardEvent& event) override;
  void post(const ScrollEvent& event) override;
  std::optional<Point> pointerLocation() override;

 private:
  EventFlags allowedFlags(const KeyboardEvent& event);

  const InputGate& gate_;
  /// One for good: the end of a source resets what others of its kind believe to be held.
  Retained<CGEventSourceRef> source_;
  EventFlags postedFlags_ = 0;  ///< of the modifiers, as last told to the system
};

}  // namespace vesk::mac

#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <mutex>
#include <set>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/macos/Retained.h"

namespace vesk::mac {

/// Posts events where the hardware's own enter the system. Without the accessibility grant the
/// system drops them in silence.
///
/// The gate is asked before each event: while it is shut nothing is pressed, moved or typed, and
/// what is held can be let go. Closing it lets go of everything; what of that is let go once more
/// later is not posted again.
///
/// Thread: any. Failure: as `EventPoster` says.
class MacEventPoster final : public EventPoster {
 public:
  /// The gate outlives this object, which is the one that acts when it closes.
  explicit MacEventPoster(InputGate& gate);
  ~MacEventPoster() override;

  void post(const MouseEvent& event) override;
  void post(const KeyboardEvent& event) override;
  void post(const ScrollEvent& event) override;
  std::optional<Point> pointerLocation() override;

 private:
  bool mayPost(const MouseEvent& event);
  bool mayPost(const KeyboardEvent& event);
  void postFlags(KeyboardEvent event);
  void create(const MouseEvent& event);
  void create(const KeyboardEvent& event);
  void letGo();

  InputGate& gate_;
  std::mutex mutex_;  ///< against whoever closes the gate
  /// One for good: the end of a source resets what others of its kind believe to be held.
  Retained<CGEventSourceRef> source_;

  std::map<MouseButton, MouseEvent> buttons_;  ///< held, as they were pressed
  std::map<KeyCode, KeyboardEvent> keys_;      ///< the same
  EventFlags flags_ = 0;                       ///< of the modifiers, as last told to the system
  std::set<MouseButton> buttonsLetGo_;         ///< by closing the gate, and not told of since
  std::set<KeyCode> keysLetGo_;                ///< the same
};

}  // namespace vesk::mac

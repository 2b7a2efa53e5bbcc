#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/input/InputDevices.h"

namespace vesk::wayland::input {

/// Posts by a mouse and a keyboard that the compositor makes for the viewer. They come with the
/// first event that presses or moves something, and go when an end of input has been carried out.
/// For a moment they also come at the beginning, where a predecessor was killed with something
/// held.
///
/// The gate is asked before each stroke: while it is shut nothing is pressed, moved or typed, and
/// what is held can be let go. Closing it lets go of everything.
///
/// Thread: any. Owns: the devices; what they hold down, which is let go of when this object ends.
/// Fails: silently, once the compositor is gone; a lost connection is made anew with the next
/// input, and where there is none, not before that input has ended.
class WlEventPoster final : public EventPoster {
 public:
  /// Both outlive this object, which is the one that acts when the gate closes or has ended.
  WlEventPoster(InputGate& gate, const stream::WatchedDisplay& watched);
  ~WlEventPoster() override;

  void post(const MouseEvent& event) override;
  void post(const KeyboardEvent& event) override;
  void post(const ScrollEvent& event) override;

  /// Where this object has put it last: a compositor tells nobody else's.
  std::optional<Point> pointerLocation() override;

 private:
  enum class Need { ofAny, ofThoseThatAreThere };

  void undoLeftBehind();
  InputDevices* devices(Need need);

  InputGate& gate_;
  const stream::WatchedDisplay& watched_;
  /// Against whoever closes the gate.
  std::mutex mutex_;
  keys::HeldRecord record_;
  std::unique_ptr<InputDevices> devices_;
  bool hasFailed_ = false;  ///< since input has begun
  std::optional<Point> pointer_;
};

}  // namespace vesk::wayland::input

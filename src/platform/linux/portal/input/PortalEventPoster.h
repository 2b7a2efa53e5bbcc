#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/portal/input/PersonsSeat.h"
#include "platform/linux/portal/input/PortalKeyboard.h"
#include "platform/linux/portal/input/PortalPointer.h"
#include "platform/linux/portal/input/SymbolTyper.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/input/ModifierKeys.h"
#include "platform/linux/wayland/input/PlacedKeys.h"

namespace vesk::portal::input {

/// Posts by way of the session that the person has granted, while there is one that may control.
///
/// The gate is asked before each stroke: while it is shut nothing is pressed, moved or typed, and
/// what is held can be let go of. Closing it lets go of everything; so does the end of a session,
/// by the compositor's hand.
///
/// Thread: any. Owns: a connection to the compositor from the first event to the end of input, to
/// know how the person's keyboard is mapped and where the outputs lie. Fails: silently, where no
/// session stands, and as the queue does.
class PortalEventPoster final : public EventPoster {
 public:
  /// The gate outlives this object, which is the one that acts when it closes or has ended; so does
  /// `watched`. The queue asks the same gate.
  PortalEventPoster(InputGate& gate, std::shared_ptr<session::StrokeQueue> strokes,
                    const stream::WatchedDisplay& watched);
  ~PortalEventPoster() override;
  PortalEventPoster(const PortalEventPoster&) = delete;
  PortalEventPoster& operator=(const PortalEventPoster&) = delete;

  void post(const MouseEvent& event) override;
  void post(const KeyboardEvent& event) override;
  void post(const ScrollEvent& event) override;

  /// Where this object has put it last: a portal tells nobody else's.
  std::optional<Point> pointerLocation() override;

 private:
  bool isReady();
  PersonsSeat& seat();
  bool hasListeningKeyboard();
  void makeTrue(EventFlags flags);
  void postKey(const KeyboardEvent& event);
  void press(const KeyboardEvent& event);
  void type(const std::u16string& run);
  void letGo();
  void forget();

  InputGate& gate_;
  const std::shared_ptr<session::StrokeQueue> strokes_;
  /// Against whoever closes the gate.
  std::mutex mutex_;
  std::unique_ptr<PersonsSeat> seat_;
  PortalPointer pointer_;
  PortalKeyboard keyboard_{*strokes_, gate_};
  wayland::input::ModifierKeys modifiers_{keyboard_};
  wayland::input::PlacedKeys keys_{keyboard_};
  SymbolTyper typer_{*strokes_};
  std::uint64_t age_ = 0;            ///< of the queue, that what is believed to be held is of
  bool hasBroughtKeyboard_ = false;  ///< in this session
  std::optional<Point> place_;
};

}  // namespace vesk::portal::input

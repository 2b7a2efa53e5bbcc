#pragma once

#include <optional>

#include "platform/Events.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::portal::input {

/// The pointer of a portal's session: it points into the screen that is shared, nowhere else. That
/// need not be the main one, which is the one that is pointed at.
///
/// Thread: one at a time. Owns: nothing; the queue outlives it. Fails: silently, where no session
/// stands or nobody has told where its screen lies.
class PortalPointer {
 public:
  explicit PortalPointer(session::StrokeQueue& strokes) : strokes_(strokes) {}

  /// Where the pointer is then, as if the main one were shared.
  std::optional<Point> move(Point point, const wayland::server::OutputList& outputs);

  void press(MouseButton button);
  void release(MouseButton button);

  /// Up for more than 0. A notch is as many of the portal's steps.
  void scroll(int lines, int stepsPerNotch);

 private:
  session::StrokeQueue& strokes_;
};

}  // namespace vesk::portal::input

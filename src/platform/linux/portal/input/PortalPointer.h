#pragma once

#include <optional>

#include "platform/Events.h"
#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::input {

/// The pointer of a portal's session: it points into the screen that is shared, nowhere else.
///
/// Thread: one at a time. Owns: nothing; the queue outlives it. Fails: silently, where no session
/// stands or nobody has told where its screen lies.
class PortalPointer {
 public:
  explicit PortalPointer(session::StrokeQueue& strokes) : strokes_(strokes) {}

  /// Where the pointer is then.
  std::optional<Point> move(Point point);

  void press(MouseButton button);
  void release(MouseButton button);

  /// Up for more than 0.
  void scroll(int lines);

 private:
  session::StrokeQueue& strokes_;
};

}  // namespace vesk::portal::input

#pragma once

#include <optional>

#include "platform/Events.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::portal::input {

/// The pointer of a portal's session: it points into the screen that is shared, nowhere else. Where
/// that is no single display, it is pointed at as if it were the main one.
///
/// Thread: one at a time. Owns: nothing. Fails: silently, where no session stands or nobody has
/// told where its screen lies.
class PortalPointer {
 public:
  /// How the desktop counts places on a screen.
  enum class Unit { points, pixels };

  /// Both outlive the object.
  PortalPointer(session::StrokeQueue& strokes, const stream::WatchedDisplay& watched)
      : strokes_(strokes), watched_(watched) {}

  /// Where the pointer is then, in the points in which it is pointed.
  std::optional<Point> move(Point point, const wayland::server::OutputList& outputs, Unit unit);

  void press(MouseButton button);
  void release(MouseButton button);

  /// Up for more than 0. A notch is as many of the portal's steps.
  void scroll(int lines, int stepsPerNotch);

 private:
  void push(Point place, Point reached, Point unit);

  session::StrokeQueue& strokes_;
  const stream::WatchedDisplay& watched_;
};

}  // namespace vesk::portal::input

#pragma once

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/linux/x11/beneath/CompositingManager.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

class XOverlay;

/// What becomes of a window on its way to the screen.
enum class Composition {
  none,      ///< it is shown as it is
  blended,   ///< a compositor shows it, translucent where it has alpha
  bypassed,  ///< there is a compositor, but it has stepped aside for a full-screen program
};

/// The overlays that exist at a time, and what must be done for them when other programs move
/// windows about or a compositor comes and goes.
///
/// Thread: main. Owns: nothing; the overlays list themselves. It lives no longer than they do, so
/// that the server tells nothing while nothing is shown.
class OverlayStack {
 public:
  /// The connection outlives the stack and has no other reader of its events.
  explicit OverlayStack(const server::Connection& connection);
  ~OverlayStack();
  OverlayStack(const OverlayStack&) = delete;
  OverlayStack& operator=(const OverlayStack&) = delete;

  const server::Connection& connection() const { return connection_; }

  /// At this moment.
  Composition composition() const;

  /// The type that a window has to say it is of, so that it is shown above all others, and without
  /// a shadow if there is a choice.
  std::string_view windowType() const;

  /// Puts the overlay on top of all.
  void orderFront(XOverlay& overlay);

  /// Waits until the server has done all that it was asked for.
  void settle();

  /// Harmless when it is not there.
  void orderOut(XOverlay& overlay);

 private:
  void watchCompositor();
  void watchWindows(std::uint32_t events) const;
  void readEvents();
  void handle(const xcb_generic_event_t& event);
  void followCompositor(const xcb_generic_event_t& event);
  void setCompositor(bool composited, bool aside);
  bool isOwn(xcb_window_t window) const;
  bool mayHide(const xcb_generic_event_t& event) const;
  void raiseSoon();
  void raise();
  void mapAnew();
  void stack(xcb_window_t window, std::optional<xcb_window_t> above) const;

  const server::Connection& connection_;
  QSocketNotifier notifier_;
  std::vector<XOverlay*> overlays_;  ///< top to bottom
  beneath::CompositingManager manager_;
  bool composited_ = false;       ///< a compositor runs
  bool compositorAside_ = false;  ///< its picture is off the screen
  bool asideIsGuess_ = false;     ///< nobody has told so far
  bool hidden_ = false;           ///< where only what comes up last is on top
  int selectionNotify_ = -1;
  QElapsedTimer sinceRaised_;
  QTimer laterRaise_;
};

}  // namespace vesk::x11::overlay

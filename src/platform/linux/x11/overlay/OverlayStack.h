#pragma once

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/linux/banner/StripPicture.h"
#include "platform/linux/x11/overlay/CompositorWatch.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

class XOverlay;

/// The overlays that exist at a time, kept above all other windows, and made to look as they have
/// to when a compositor comes and goes.
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
  Composition composition() const { return compositor_.composition(); }

  /// The type that a window has to say it is of, so that it is shown above all others, and without
  /// a shadow if there is a choice.
  std::string_view windowType() const;

  /// Puts the overlay on top of all.
  void orderFront(XOverlay& overlay);

  /// Waits until the server has done all that it was asked for.
  void settle();

  /// Harmless when it is not there.
  void orderOut(XOverlay& overlay);

  /// For when another overlay has come up: each leaves room for those in front of it.
  void paintBorders() const;

  /// The backgrounds in front of that overlay.
  std::vector<banner::Tab> tabsAbove(const XOverlay& overlay) const;

 private:
  void watchWindows(std::uint32_t events) const;
  void readEvents();
  void handle(const xcb_generic_event_t& event);
  void adapt();
  bool isOwn(xcb_window_t window) const;
  bool mayHide(const xcb_generic_event_t& event) const;
  void raiseSoon();
  void raise();
  void mapAnew();
  void stack(xcb_window_t window, std::optional<xcb_window_t> above) const;

  const server::Connection& connection_;
  QSocketNotifier notifier_;
  std::vector<XOverlay*> overlays_;  ///< top to bottom
  CompositorWatch compositor_;
  bool hidden_ = false;  ///< where only what comes up last is on top
  QElapsedTimer sinceRaised_;
  QTimer laterRaise_;
};

}  // namespace vesk::x11::overlay

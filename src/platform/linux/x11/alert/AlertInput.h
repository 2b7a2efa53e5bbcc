#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <optional>

#include "platform/DeliberateAct.h"
#include "platform/linux/x11/alert/ServerTime.h"

class QMouseEvent;
class QWidget;

namespace vesk::x11::alert {

/// Lets only those keys and clicks through to an alert that are deliberate acts of the person.
///
/// It reads the server's events before Qt does. Qt tells late that the focus went and came back, or
/// not at all when that was quick, it takes most repeats for presses, and shortcuts get a key
/// before any widget does.
///
/// Thread: main. Owns: nothing; the alert's window exists already, has never been shown, and
/// outlives it. Fails: without an X connection it watches nothing.
class AlertInput final : public QObject, public QAbstractNativeEventFilter {
 public:
  explicit AlertInput(QWidget& alert);
  ~AlertInput() override;
  AlertInput(const AlertInput&) = delete;
  AlertInput& operator=(const AlertInput&) = delete;

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Area {
    int x, y, width, height;
    bool operator==(const Area&) const = default;
  };

  void askForTrueReleases();
  void follow(const xcb_generic_event_t& event);
  void followPlace(const xcb_generic_event_t& event);
  void followFocus(const xcb_focus_in_event_t& event);
  bool isDropped(const xcb_generic_event_t& event);
  bool pressCounts(const QMouseEvent& press);
  void letGo();
  DeliberateAct::Keys heldKeys() const;

  QWidget& alert_;
  xcb_connection_t* connection_;
  xcb_window_t window_;
  ServerTime time_;
  DeliberateAct act_;
  std::optional<Area> inParent_;
  std::optional<Area> onScreen_;
};

}  // namespace vesk::x11::alert

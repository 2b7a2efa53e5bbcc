#pragma once

#include <QEvent>
#include <cstdint>

#include "platform/DeliberateAct.h"
#include "platform/linux/wayland/alert/FrameTime.h"
#include "platform/linux/wayland/alert/PointerImage.h"
#include "platform/linux/wayland/alert/Seat.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"

class QWidget;

namespace vesk::wayland::alert {

/// Hands those keys and clicks on to an alert that are deliberate acts of the person. Nothing else
/// does: the window itself is on no screen.
///
/// Thread: main. Owns: its share of the seat; the alert, which is shown already, and its surface
/// outlive it. Fails: as an alert that nobody answers. Calls back: the alert, from within the
/// connection's dispatch.
class AlertInput final : private SeatWatcher {
 public:
  AlertInput(QWidget& alert, overlay::LayerShell& shell, overlay::LayerSurface& surface);
  AlertInput(const AlertInput&) = delete;
  AlertInput& operator=(const AlertInput&) = delete;

  /// The surface has its picture.
  void comesIntoSight();

  /// The surface is about to go: nothing counts any more.
  void goesOutOfSight();

 private:
  void pointerEnters(std::uint32_t serial, Point place) override;
  void pointerMoves(Point place) override;
  void pointerLeaves() override;
  void button(std::uint32_t number, Stroke stroke, std::uint32_t time) override;
  void getsFocus(const DeliberateAct::Keys& held) override;
  void losesFocus() override;
  void key(std::uint32_t number, Stroke stroke, std::uint32_t time) override;

  void letGo();
  void sendMouse(QEvent::Type type, std::uint32_t time);
  void send(QEvent& event);

  QWidget& alert_;
  FrameTime time_;
  PointerImage image_;
  DeliberateAct act_;
  Point pointer_;
  bool isButtonDown_ = false;  ///< as the alert was told
  Seat seat_;
};

}  // namespace vesk::wayland::alert

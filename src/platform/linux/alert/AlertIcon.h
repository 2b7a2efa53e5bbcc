#pragma once

#include <QIcon>
#include <QWidget>

namespace vesk::alert {

/// The program's own sign: a screen that is looked at. Drawn, so that it is sharp at every scale.
/// Thread: main, with an application object.
QIcon alertIcon();

/// The same as a part of a window. Painted anew for whatever it is shown on, since that may have
/// more pixels than the screen that the window was laid out for. Thread: main.
class AlertIcon final : public QWidget {
 public:
  AlertIcon(QWidget* parent, int size);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace vesk::alert

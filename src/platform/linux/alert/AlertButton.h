#pragma once

#include <QPushButton>

namespace vesk::alert {

/// A button of an alert, high enough to be hit. The default one is filled with its palette's
/// colours by itself, since not every style would; the others look as the desktop's do.
///
/// Thread: main.
class AlertButton final : public QPushButton {
 public:
  explicit AlertButton(const QString& label);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace vesk::alert

#pragma once

#include <QObject>
#include <functional>

class QScreen;
class QWidget;

namespace vesk::alert {

/// Notices when a window was laid out for what is no more: scale, monitors, font, style, colours.
/// Qt takes a place for what it would be at the scale of the moment, while the window still shows
/// what it was laid out for.
///
/// Thread: main. Owns: nothing; the window exists already, and outlives it. Calls back: from within
/// each change, so before any key or click is taken for what it would mean after it.
class LookWatch final : public QObject {
 public:
  LookWatch(QWidget& window, std::function<void()> onChange);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void watch(const QScreen& screen);

  std::function<void()> onChange_;
};

}  // namespace vesk::alert

#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/alert/LookWatch.h"

class QDialogButtonBox;
class QLabel;
class QPushButton;

namespace vesk::alert {

/// The window of an alert: an icon, a message in bold over an explanation, and buttons in the order
/// of the desktop's own dialogs.
///
/// What it shows is what answers it: once the desktop's look or scale has changed under it, nothing
/// does any more, and it ends for another one to be shown in its place.
///
/// Thread: main. Its result is the number of the button that was chosen, from `firstButton` on,
/// `outdated`, or zero when it was closed in another way.
class AlertDialog final : public QDialog {
 public:
  static constexpr int firstButton = 1000;
  static constexpr int outdated = 999;

  /// `room` is what it may take of the screen, in points.
  explicit AlertDialog(QSize room);
  ~AlertDialog() override;
  AlertDialog(const AlertDialog&) = delete;
  AlertDialog& operator=(const AlertDialog&) = delete;

  void setMessageText(const QString& text);
  void setInformativeText(const QString& text);
  void addButton(const QString& title);

  /// For when what it shows is not what it was laid out for any more.
  void becomeOutdated();

  /// Leaves the explanation out where it would push the buttons out of sight.
  void fitOnScreen();

  void done(int result) override;

  /// Called each time the window comes into sight; it may set another one, or none.
  std::function<void()> onExposed;

  /// Called before the window leaves the screen, whatever closes it.
  std::function<void()> onClosing;

  /// Called when the window should be in sight and is not: every second until it first is, and when
  /// it was minimised. No list of windows shows it, so the person could not bring it back.
  std::function<void()> onMissing;

  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void layOut();
  void markDefaultButton();
  void choose(int result);

  QSize room_;
  QLabel* message_;
  QLabel* informative_;
  QDialogButtonBox* buttonBox_;
  std::vector<QPushButton*> buttons_;
  QTimer untilInSight_;
  std::unique_ptr<LookWatch> look_;
  qreal scale_ = 0;  ///< at which it was shown
  bool outdated_ = false;
};

}  // namespace vesk::alert

#include "platform/linux/alert/QtAlerts.h"

#include <QCoreApplication>
#include <QTimer>
#include <memory>
#include <utility>
#include <vector>

#include "platform/Fatal.h"
#include "platform/linux/alert/AlertDialog.h"
#include "platform/linux/alert/DesktopLook.h"

namespace vesk::alert {
namespace {

class QtModalTimer final : public ModalTimer {
 public:
  QtModalTimer(std::chrono::nanoseconds delay, std::function<void()> handler) {
    timer_.setSingleShot(true);
    // The coarse kind may be seconds off in a minute.
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, std::move(handler));
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(delay));
  }
  void invalidate() override { timer_.stop(); }

 private:
  QTimer timer_;
};

}  // namespace

class QtAlerts::QtAlert final : public Alert {
 public:
  explicit QtAlert(QtAlerts& alerts) : alerts_(alerts) {}

  void setMessageText(const std::string& text) override { message_ = QString::fromStdString(text); }
  void setInformativeText(const std::string& text) override {
    informative_ = QString::fromStdString(text);
  }
  void addButton(const std::string& title) override {
    buttons_.push_back(QString::fromStdString(title));
  }
  void setLevel(WindowLevel) override {
    // Every level of the Mac's that an alert can have is above all usual windows.
    staysOnTop_ = true;
  }

  ModalResponse runModal() override {
    // Before there is anything that the viewer's hands could answer.
    const ShutGate shut(alerts_.inputGate_);
    int result = ask();
    while (result == AlertDialog::outdated) result = ask();
    return result == 0 ? ModalResponse::alertSecondButtonReturn
                       : static_cast<ModalResponse>(result);
  }

 private:
  /// In a window that is new to the person's eyes and hands.
  int ask() {
    followDesktopLook();
    const auto dialog = makeDialog();
    const auto scene = alerts_.stage_->set(*dialog, alerts_.active_);
    alerts_.modal_.push_back(dialog.get());
    const int result = dialog->exec();
    alerts_.modal_.pop_back();
    return result;
  }

  std::unique_ptr<AlertDialog> makeDialog() const {
    auto dialog = std::make_unique<AlertDialog>(alerts_.stage_->room());
    dialog->setMessageText(message_);
    dialog->setInformativeText(informative_);
    for (const auto& title : buttons_) dialog->addButton(title);
    dialog->fitOnScreen();
    dialog->setWindowFlag(Qt::WindowStaysOnTopHint, staysOnTop_);
    return dialog;
  }

  QtAlerts& alerts_;
  QString message_;
  QString informative_;
  std::vector<QString> buttons_;
  bool staysOnTop_ = false;
};

void QtAlerts::activateIgnoringOtherApps() {
  if (QCoreApplication::instance() == nullptr)
    fatal("there is no application to bring to the front");
  active_ = true;
}

std::unique_ptr<Alert> QtAlerts::makeAlert() { return std::make_unique<QtAlert>(*this); }

void QtAlerts::abortModal() {
  if (!modal_.empty()) modal_.back()->done(static_cast<int>(ModalResponse::abort));
}

std::unique_ptr<ModalTimer> QtAlerts::startModalTimer(std::chrono::nanoseconds delay,
                                                      std::function<void()> handler) {
  return std::make_unique<QtModalTimer>(delay, std::move(handler));
}

}  // namespace vesk::alert

#pragma once

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <thread>

#include "platform/SystemClock.h"
#include "platform/linux/alert/QtAlerts.h"
#include "platform/linux/wayland/alert/WlAlertStage.h"
#include "support/Patience.h"
#include "support/Sway.h"
#include "support/TestApplication.h"
#include "support/WlHand.h"
#include "support/WlPicture.h"
#include "support/WlWindow.h"

namespace vesk::testing {

/// A question to a person on a private compositor, above a window that fills the screen.
class AlertFixture : public ::testing::Test {
 protected:
  using Milliseconds = std::chrono::milliseconds;

  /// Longer than an alert has to be in sight before anything counts.
  static constexpr Milliseconds settled{700};

  struct EnteredSway : Sway {
    EnteredSway() { enter(); }
  };

  /// `person` is run from within the question, once it is in sight; the answer.
  ModalResponse ask(const std::function<void()>& person) {
    const auto alert = alerts_->makeAlert();
    alert->setMessageText("Ada Lovelace would like to view your screen");
    alert->setInformativeText(
        "She will see everything that is on it, and use your mouse and keyboard.");
    alert->addButton("Allow");
    alert->addButton("Don't Allow");
    alerts_->activateIgnoringOtherApps();
    once([this] { return !surfaces().empty(); }, person);
    // What nobody answers would be asked for ever.
    const auto deadline = alerts_->startModalTimer(Milliseconds(patience()), [this] {
      ADD_FAILURE() << "nobody has answered";
      alerts_->abortModal();
    });
    return alert->runModal();
  }

  /// Does something as soon as that is true, from the loop that the question runs in then.
  void once(const std::function<bool()>& condition, const std::function<void()>& act) {
    auto& timer = timers_.emplace_back();
    QObject::connect(&timer, &QTimer::timeout, [&timer, condition, act] {
      if (!condition()) return;
      timer.stop();
      act();
    });
    timer.start(1);
  }

  /// Runs the loop that the question runs in.
  static bool waitUntil(const std::function<bool()>& condition) {
    return testing::waitUntil([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }

  static void pass(Milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    waitUntil([&] { return std::chrono::steady_clock::now() >= end; });
  }

  static QWidget* dialog() { return QApplication::activeModalWidget(); }
  static bool isAsked() { return dialog() != nullptr && dialog()->isVisible(); }

  static QPushButton* button(const QString& text) {
    if (dialog() == nullptr) return nullptr;
    for (auto* const each : dialog()->findChildren<QPushButton*>()) {
      if (QString(each->text()).remove('\'') == QString(text).remove('\'')) return each;
    }
    return nullptr;
  }

  static bool hasFocus(const QString& title) {
    const auto* const found = button(title);
    return found != nullptr && found->hasFocus();
  }

  /// In the middle of the one screen, in points.
  Point placeOf(const QString& title) const {
    const auto* const found = button(title);
    const QPointF middle = found->mapTo(dialog(), QRectF(found->rect()).center());
    const auto area = surfaces().front().area;
    return {area.x / scale_ + middle.x(), area.y / scale_ + middle.y()};
  }

  std::vector<wayland::beneath::OwnSurface> surfaces() const { return own_.shown().surfaces; }

  double scale_ = 1;
  EnteredSway sway_;
  TestApplication application_;
  SystemClock clock_;
  InputGate gate_{clock_};
  wayland::beneath::OwnSurfaces own_;
  std::unique_ptr<alert::QtAlerts> alerts_{std::make_unique<alert::QtAlerts>(
      std::make_unique<wayland::alert::WlAlertStage>(own_), gate_)};
  WlHand hand_;
  std::list<QTimer> timers_;
};

}  // namespace vesk::testing

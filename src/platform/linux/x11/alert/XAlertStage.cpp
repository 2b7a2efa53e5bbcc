#include "platform/linux/x11/alert/XAlertStage.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include "platform/linux/alert/AlertColours.h"
#include "platform/linux/alert/AlertDialog.h"
#include "platform/linux/x11/alert/AlertInput.h"
#include "platform/linux/x11/alert/AlertWindow.h"
#include "platform/linux/x11/beneath/shownWindow.h"

namespace vesk::x11::alert {
namespace {

using vesk::alert::AlertDialog;

class XScene final : public vesk::alert::AlertStage::Scene {
 public:
  XScene(AlertDialog& dialog, beneath::OwnWindows& ownWindows, bool comesToFront)
      : ownWindows_(ownWindows), window_(static_cast<xcb_window_t>(dialog.winId())) {
    ownWindows.add(window_);
    // First the window goes, then its name.
    QObject::connect(&dialog, &QObject::destroyed,
                     [&ownWindows, window = window_] { ownWindows.remove(window); });
    keepOnEveryWorkspace(window_);
    if (vesk::alert::isDark(dialog.palette())) wishDarkFrame(window_);
    dialog.onExposed = [this, &dialog, comesToFront] {
      // Only once: a person who turns to another window meanwhile is not called back.
      dialog.onExposed = nullptr;
      if (comesToFront) bringToTheFront(window_);
    };
    dialog.onMissing = [this] { mapAgain(window_); };
    dialog.onClosing = [this] { noteLeaving(); };
    input_.emplace(dialog);
  }

 private:
  /// The viewer looks as soon as the person has allowed it, and a compositor may show the window
  /// yet.
  void noteLeaving() {
    auto* const connection = qtConnection();
    if (connection == nullptr) return;
    if (const auto shown = beneath::shownWindow(connection, window_)) {
      ownWindows_.leave(*shown, beneath::OwnWindows::Time::clock::now());
    }
  }

  beneath::OwnWindows& ownWindows_;
  xcb_window_t window_;
  std::optional<AlertInput> input_;
};

}  // namespace

/// What a window with a frame may take of any monitor: on which one it comes up is the window
/// manager's to say.
QSize XAlertStage::room() const {
  constexpr QSize frame(8, 40);
  QSize least(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
  for (const auto* const screen : QGuiApplication::screens()) {
    least = least.boundedTo(screen->availableSize());
  }
  return least - frame;
}

std::unique_ptr<vesk::alert::AlertStage::Scene> XAlertStage::set(AlertDialog& dialog,
                                                                 bool comesToFront) {
  return std::make_unique<XScene>(dialog, ownWindows_, comesToFront);
}

}  // namespace vesk::x11::alert

#pragma once

#include <QSize>
#include <memory>

namespace vesk::alert {

class AlertDialog;

/// What an alert needs of the desktop beyond what Qt gives it: to be above all, to come to the
/// person, and to be answered by nobody else.
///
/// Thread: main. Outlives its scenes.
class AlertStage {
 public:
  /// One alert on its way to the person, in sight, and on its way out. Ends before the dialog does.
  class Scene {
   public:
    virtual ~Scene() = default;
  };

  virtual ~AlertStage() = default;

  /// How large a dialog may be, in points, to be in sight wherever it comes up.
  virtual QSize room() const = 0;

  /// For a dialog that is about to be shown, and will be as soon as it runs. `comesToFront` says
  /// that it takes the focus from whatever the person works in.
  virtual std::unique_ptr<Scene> set(AlertDialog& dialog, bool comesToFront) = 0;
};

}  // namespace vesk::alert

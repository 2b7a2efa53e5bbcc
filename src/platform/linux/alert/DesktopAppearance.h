#pragma once

#include <QColor>
#include <optional>

namespace vesk::alert {

/// What a person has chosen for the whole desktop.
struct DesktopAppearance {
  bool prefersDark = false;
  std::optional<QColor> accent;
};

/// As the desktop's settings tell it at this moment: by the portal, which is the same for all
/// desktops. Thread: main. Fails: as nothing chosen; a portal that does not answer costs a fifth of
/// a second.
DesktopAppearance desktopAppearance();

}  // namespace vesk::alert

#pragma once

#include <QIcon>

namespace vesk::alert {

/// The program's own sign: a screen that is looked at. Drawn, so that it is sharp at every scale.
/// Thread: main, with an application object.
QIcon alertIcon();

}  // namespace vesk::alert

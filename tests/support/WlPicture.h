#pragma once

#include <QImage>
#include <string>

namespace vesk::testing {

/// What an output of the compositor that WAYLAND_DISPLAY names shows, in its pixels. Throws when
/// there is no such thing. `VESK_WAYLAND_PICTURES` names a folder that all of them are kept in, to
/// be looked at.
QImage wlPicture(const std::string& output = "HEADLESS-1");

}  // namespace vesk::testing

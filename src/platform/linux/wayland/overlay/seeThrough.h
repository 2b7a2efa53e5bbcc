#pragma once

#include <QImage>

namespace vesk::wayland::overlay {

/// How opaque a picture that can be seen through is at the most. What lies beneath can be worked
/// out of what is seen as long as a tenth of it is.
inline constexpr double mostOpaque = 0.9;

/// The same premultiplied picture, each of its pixels fainter by that factor. Thread: any.
QImage seeThrough(const QImage& picture);

}  // namespace vesk::wayland::overlay

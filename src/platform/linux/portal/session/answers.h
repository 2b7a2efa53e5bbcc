#pragma once

#include <QVariantMap>
#include <cstdint>
#include <optional>

#include "platform/Geometry.h"

namespace vesk::portal::session {

/// The screen's stream as the portal tells of it. Where it lies not all portals say.
struct ToldStream {
  std::uint32_t node = 0;
  std::optional<Rect> area;
};

/// The first one among the results of a start; nothing where there is none, or they are of another
/// kind.
std::optional<ToldStream> streamOf(const QVariantMap& results);

}  // namespace vesk::portal::session

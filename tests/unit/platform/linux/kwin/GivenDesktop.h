#pragma once

#include <optional>

#include "support/KWin.h"
#include "support/WlWindow.h"
#include "unit/platform/linux/portal/session/DesktopOfTests.h"
#include "unit/platform/linux/portal/session/HeardSession.h"

namespace vesk::portal::session {

/// A desktop with a window over all of it, which gives a session without asking.
template <typename Desktop>
class GivenDesktopOf : public DesktopOfTests<Desktop>, public HeardSession {
 public:
  /// Up to a session that may control.
  bool begin() {
    startSession();
    return waitFor([this] { return !grants.empty() || !ends.empty(); }) && !grants.empty();
  }

  std::optional<testing::WlWindow> window{std::in_place};
};

using GivenDesktop = GivenDesktopOf<testing::KWin>;

}  // namespace vesk::portal::session

#pragma once

#include <linux/input-event-codes.h>

#include <optional>
#include <utility>

#include "support/Mutter.h"
#include "support/MutterHand.h"
#include "support/WlWindow.h"
#include "unit/platform/linux/portal/session/DesktopOfTests.h"
#include "unit/platform/linux/portal/session/HeardSession.h"

namespace vesk::portal::session {

/// A desktop with a window over all of it, and a person at it who is asked about a session.
template <typename Desktop>
class AskedDesktopOn : public DesktopOfTests<Desktop>, public HeardSession {
 public:
  using DesktopOfTests<Desktop>::desktop;

  AskedDesktopOn() {
    window.emplace();
    hand.awaitFullSize(*window);
  }

  void ask(SessionWishes wishes = {}) {
    // The dialog comes up small and grows: once it reaches the place of its right edge, it takes
    // the pointer from the window, and everything in it is where it stays.
    hand.moveTo(atItsEdge);
    window->waitFor([](const auto& seen) { return seen.hasPointer; });
    startSession(std::move(wishes));
  }

  bool isAsked() {
    return window->waitFor([](const auto& seen) { return !seen.hasPointer; });
  }

  bool isAskedNoMore() {
    return window->waitFor([](const auto& seen) { return seen.hasPointer; });
  }

  /// The keys come back to the window some time after the pointer, which is told where there is a
  /// keyboard: the person's.
  bool hasKeysAgain() {
    hand.strike(KEY_LEFTCTRL);
    return window->waitFor(
        [](const auto& seen) { return seen.hasFocus && seen.modifiers == "0 0 0 0"; });
  }

  /// Answers the dialog with yes. Whether a session has come of it.
  bool allow(bool withInput = true) {
    if (!isAsked()) return false;
    approve(withInput);
    return waitFor([this] { return !grants.empty(); });
  }

  /// Up to a session that may control.
  bool begin() {
    ask();
    return allow() && isAskedNoMore() && hasKeysAgain();
  }

  /// Clicks at the dialog, which has come up.
  void approve(bool withInput = true) {
    if (withInput) hand.click({1150, 612});
    hand.click({1172, 413});
  }

  static constexpr Point atItsEdge{1218, 540};

  testing::MutterHand hand{desktop};
  std::optional<testing::WlWindow> window;
};

using AskedDesktop = AskedDesktopOn<testing::Mutter>;

}  // namespace vesk::portal::session

#pragma once

#include <QCoreApplication>
#include <array>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/SystemClock.h"
#include "platform/linux/portal/session/PortalSession.h"
#include "support/Mutter.h"
#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/WlWindow.h"

namespace vesk::portal::session {

/// A desktop with a window over all of it, and a person at it who is asked about a session.
class AskedDesktop {
  std::array<char, 6> name_{"tests"};
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_.data()};

 public:
  AskedDesktop() {
    desktop.enter();
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

  void startSession(SessionWishes wishes = {}) {
    session.emplace(
        strokes, std::move(wishes),
        PortalSession::Listener{
            [this](Granted given) { note([&] { grants.push_back(std::move(given)); }); },
            [this](const PlatformError& error) { note([&] { ends.push_back(error); }); }});
    session->start();
  }

  bool isAsked() {
    return window->waitFor([](const auto& seen) { return !seen.hasPointer; });
  }

  bool isAskedNoMore() {
    return window->waitFor([](const auto& seen) { return seen.hasPointer; });
  }

  /// Answers the dialog with yes. Whether a session has come of it.
  bool allow(bool withInput = true) {
    if (!isAsked()) return false;
    approve(withInput);
    return waitFor([this] { return !grants.empty(); });
  }

  /// Clicks at the dialog, which has come up.
  void approve(bool withInput = true) {
    if (withInput) hand.click({1150, 612});
    hand.click({1172, 413});
  }

  bool waitFor(const std::function<bool()>& condition) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::milliseconds(testing::patience()), condition);
  }

  /// What has been told of the end; nothing before it.
  std::optional<PlatformError> end() {
    waitFor([this] { return !ends.empty(); });
    const std::lock_guard lock(mutex);
    return ends.empty() ? std::nullopt : std::optional(ends.front());
  }

  static constexpr Point atItsEdge{1218, 540};

  testing::Mutter desktop;
  testing::MutterHand hand{desktop};
  std::optional<testing::WlWindow> window;
  SystemClock clock;
  InputGate gate{clock};
  std::shared_ptr<StrokeQueue> strokes = std::make_shared<StrokeQueue>(gate);

  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Granted> grants;
  std::vector<PlatformError> ends;
  std::optional<PortalSession> session;

 private:
  template <typename Change>
  void note(Change change) {
    const std::lock_guard lock(mutex);
    change();
    changed.notify_all();
  }
};

}  // namespace vesk::portal::session

#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/SystemClock.h"
#include "platform/linux/portal/session/PortalSession.h"
#include "support/Patience.h"

namespace vesk::portal::session {

/// A session, and all that it has told so far.
class HeardSession {
 public:
  void startSession(SessionWishes wishes = {}) {
    session.emplace(
        strokes, std::move(wishes),
        PortalSession::Listener{
            [this](Granted given) { note([&] { grants.push_back(std::move(given)); }); },
            [this](const PlatformError& error) { note([&] { ends.push_back(error); }); }});
    session->start();
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

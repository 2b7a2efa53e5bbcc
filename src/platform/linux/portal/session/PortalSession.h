#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/Granted.h"
#include "platform/linux/portal/session/RestoreToken.h"
#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::session {

/// What a session is asked for with.
struct SessionWishes {
  bool showsCursor = true;
  /// How long the desktop's own question may stand open.
  std::chrono::milliseconds answerWithin = std::chrono::minutes(1);
  RestoreToken token{};
};

/// One session with the portal: the person is asked by the desktop, once, for the screen and for
/// its input devices, and may take both back at any time.
///
/// Thread: any; the constructor and `start` before all else. An application object of Qt's exists
/// all the while. Owns: a thread and a connection of its own to the bus, with which the session
/// ends whatever happens. Calls back: on that thread, `onGranted` once at most, `onEnded` once, in
/// its place or after it, unless `end` was called before. It may be destroyed on that thread.
/// Fails: by `onEnded`.
class PortalSession {
 public:
  struct Listener {
    std::function<void(Granted)> onGranted;
    std::function<void(PlatformError)> onEnded;
  };

  /// The strokes go to this session from its grant to its end, if it may control.
  PortalSession(std::shared_ptr<StrokeQueue> strokes, SessionWishes wishes, Listener listener);

  /// Waits for what is being called back, and for a desktop that answers to have ended the session.
  ~PortalSession();
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;

  /// Called once.
  void start();

  /// Takes back a question that stands open, and ends what was granted. Waits for nobody; nothing
  /// begins to be called back once this has returned.
  void end();

 private:
  class Run;

  std::shared_ptr<Run> run_;
  std::optional<std::thread> thread_;
};

}  // namespace vesk::portal::session

#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/InputGate.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/PortalSession.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::portal::screen {

/// One sharing of a screen: from the desktop's question, by what the person has chosen, to the end
/// of the session that the answer has begun. What is chosen is the display that is watched, as long
/// as the session stands. Where the session ends, so do its images, and the other way round.
///
/// Thread: any, but `ask` first and then `show`, each once. Owns: the session, which ends with the
/// object. Calls back: on the session's thread or the images'. Fails: by value.
class Share : public std::enable_shared_from_this<Share> {
 public:
  using Output = ScreenStream::Output;

  /// How what is shared is to be shown.
  struct Showing {
    StreamConfiguration configuration;
    const wayland::beneath::OwnSurfaces* leftOut = nullptr;  ///< outlives it
    std::function<void(PlatformError)> onStopped;
    Output output = nullptr;
    SerialQueue* queue = nullptr;
  };

  /// The gate and `watched` outlive the object.
  Share(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate,
        stream::WatchedDisplay& watched)
      : strokes_(std::move(strokes)), gate_(gate), watched_(watched) {}

  /// Asks the person. The gate is shut while the question stands open: the viewer cannot answer it.
  void ask(Completion answered);

  /// What the person has chosen, once they have agreed: where it is no single output, the main one.
  wayland::server::Output chosen() const;

  /// Begins to show it. `onStopped` is called where the end comes by itself after that.
  void show(Showing showing, Completion started);

  /// Nothing is told of any more once this has returned, but for the completions.
  void stop(const Completion& completion);

  /// Ends what is asked or has not begun to be shown: it fails.
  void withdraw();

 private:
  enum class Unless { over, started };

  void beginSession();
  void accept(session::Granted granted);
  void finishStart();
  void end(const PlatformError& error, Unless unless);

  const std::shared_ptr<session::StrokeQueue> strokes_;
  InputGate& gate_;
  stream::WatchedDisplay& watched_;

  /// Taken twice by one thread where there is no other for it to start: that fails at once.
  mutable std::recursive_mutex mutex_;
  std::optional<PlatformError> over_;  ///< and why
  std::unique_ptr<ShutGate> asking_;
  Completion waiting_;  ///< for the answer, or for the first picture
  bool isStarted_ = false;
  session::Granted granted_;
  wayland::server::Output chosen_;
  stream::WatchedDisplay::Hold watching_;
  std::function<void(PlatformError)> onStopped_;
  std::unique_ptr<session::PortalSession> session_;
  std::unique_ptr<ScreenStream> images_;
};

}  // namespace vesk::portal::screen

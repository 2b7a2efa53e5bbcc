#include "platform/linux/portal/screen/Share.h"

#include <utility>

#include "platform/linux/portal/screen/StreamImages.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "platform/linux/stream/ThreadedStream.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/outputAt.h"
#include "platform/linux/wayland/server/shareableOutputs.h"

namespace vesk::portal::screen {

using wayland::server::Connection;
using wayland::server::outputAt;
using wayland::server::OutputList;

void Share::ask(Completion answered) {
  auto shut = std::make_unique<ShutGate>(gate_);
  {
    const std::lock_guard lock(mutex_);
    if (!over_) {
      asking_ = std::move(shut);
      waiting_ = std::move(answered);
      return beginSession();
    }
  }
  shut.reset();
  answered(over_);
}

void Share::beginSession() {
  const auto weak = weak_from_this();
  session_ = std::make_unique<session::PortalSession>(
      strokes_, session::SessionWishes{},
      session::PortalSession::Listener{[weak](session::Granted granted) {
                                         if (const auto share = weak.lock())
                                           share->accept(std::move(granted));
                                       },
                                       [weak](const PlatformError& error) {
                                         if (const auto share = weak.lock())
                                           share->end(error, Unless::over);
                                       }});
  session_->start();
}

/// On the session's thread: the person has agreed.
void Share::accept(session::Granted granted) {
  Connection connection;
  const OutputList outputs(connection);
  const auto chosen = granted.area ? outputAt(*granted.area, outputs.current()) : std::nullopt;
  const auto shown = chosen ? chosen : outputs.main();
  if (!shown) return end(wayland::server::compositorGone, Unless::over);
  Completion answered;
  {
    const std::lock_guard lock(mutex_);
    if (over_) return;
    asking_.reset();
    granted_ = std::move(granted);
    chosen_ = *shown;
    if (chosen) watching_ = watched_.hold(chosen->id);
    answered = std::exchange(waiting_, nullptr);
  }
  answered(std::nullopt);
}

wayland::server::Output Share::chosen() const {
  const std::lock_guard lock(mutex_);
  return chosen_;
}

void Share::show(Showing showing, Completion started) {
  std::unique_lock lock(mutex_);
  if (over_) {
    lock.unlock();
    return started(over_);
  }
  waiting_ = std::move(started);
  onStopped_ = std::move(showing.onStopped);
  const auto weak = weak_from_this();
  images_ = std::make_unique<stream::ThreadedStream>(
      std::make_unique<StreamImages>(std::move(granted_.remote), granted_.node, chosen_.id,
                                     showing.configuration, showing.leftOut),
      showing.configuration.framesPerSecond, [weak](const PlatformError& error) {
        if (const auto share = weak.lock()) share->end(error, Unless::over);
      });
  if (showing.queue != nullptr) images_->addOutput(std::move(showing.output), *showing.queue);
  images_->startCapture([weak](const std::optional<PlatformError>& error) {
    const auto share = weak.lock();
    if (share == nullptr) return;
    error ? share->end(*error, Unless::over) : share->finishStart();
  });
}

void Share::finishStart() {
  Completion started;
  {
    const std::lock_guard lock(mutex_);
    if (over_) return;
    isStarted_ = true;
    started = std::exchange(waiting_, nullptr);
  }
  started(std::nullopt);
}

void Share::withdraw() { end(session::sessionError::withdrawn, Unless::started); }

/// Both, whichever of the session and the images has ended. Who waits is told, or who watches.
void Share::end(const PlatformError& error, Unless unless) {
  Completion waiting;
  std::function<void(PlatformError)> onStopped;
  {
    const std::lock_guard lock(mutex_);
    if (over_ || (isStarted_ && unless == Unless::started)) return;
    over_ = error;
    asking_.reset();
    watching_.reset();
    waiting = std::exchange(waiting_, nullptr);
    onStopped = std::exchange(onStopped_, nullptr);
    if (session_ != nullptr) session_->end();
    if (images_ != nullptr) images_->stopCapture([](const auto&) {});
  }
  if (waiting) return waiting(error);
  if (onStopped) onStopped(error);
}

void Share::stop(const Completion& completion) {
  Completion waiting;
  std::unique_ptr<ScreenStream> images;
  std::unique_ptr<session::PortalSession> session;
  {
    const std::lock_guard lock(mutex_);
    if (!over_) over_ = session::sessionError::withdrawn;
    asking_.reset();
    watching_.reset();
    images = std::move(images_);
    session = std::move(session_);
    waiting = std::exchange(waiting_, nullptr);
    onStopped_ = nullptr;
  }
  if (session != nullptr) session->end();
  if (waiting) waiting(over_);
  if (images == nullptr) return completion(std::nullopt);
  auto& target = *images;
  target.stopCapture([held = std::shared_ptr<ScreenStream>(std::move(images)),
                      completion](const auto& error) { completion(error); });
}

}  // namespace vesk::portal::screen

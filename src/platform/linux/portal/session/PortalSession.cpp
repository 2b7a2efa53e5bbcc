#include "platform/linux/portal/session/PortalSession.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "platform/linux/portal/session/SessionLife.h"
#include "platform/linux/stream/startThread.h"
#include "platform/linux/stream/streamErrors.h"

namespace vesk::portal::session {

/// What the session's thread shares with whoever ends the session.
class PortalSession::Run {
 public:
  Run(std::shared_ptr<StrokeQueue> strokes, SessionWishes wishes, Listener listener)
      : strokes_(std::move(strokes)), wishes_(std::move(wishes)), told_(std::move(listener)) {
    listener_.onGranted = [this](Granted granted) {
      if (isWanted()) told_.onGranted(std::move(granted));
    };
    listener_.onEnded = [this](const PlatformError& error) { finish(error); };
  }

  /// The thread's whole life.
  void run() {
    {
      QEventLoop loop;
      if (enter(&loop)) {
        SessionLife life(*strokes_, wishes_, listener_);
        life.begin();
        if (isWanted()) loop.exec();
      }
      enter(nullptr);
    }
    // What ended from within what it had called.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const std::lock_guard lock(mutex_);
    isDone_ = true;
    done_.notify_all();
  }

  void end() {
    const std::lock_guard lock(mutex_);
    isWanted_ = false;
    quit();
  }

  /// Tells of the end, unless it was wanted.
  void finish(const PlatformError& error) {
    {
      const std::lock_guard lock(mutex_);
      quit();
      if (!std::exchange(isWanted_, false)) return;
    }
    told_.onEnded(error);
  }

  bool waitUntilDone(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return done_.wait_for(lock, patience, [this] { return isDone_; });
  }

 private:
  bool isWanted() {
    const std::lock_guard lock(mutex_);
    return isWanted_;
  }

  bool enter(QEventLoop* loop) {
    const std::lock_guard lock(mutex_);
    loop_ = loop;
    return isWanted_;
  }

  /// By an event, which is not lost where the loop does not run yet.
  void quit() {
    if (loop_ != nullptr) QMetaObject::invokeMethod(loop_, &QEventLoop::quit, Qt::QueuedConnection);
  }

  const std::shared_ptr<StrokeQueue> strokes_;
  const SessionWishes wishes_;
  const Listener told_;
  Listener listener_;

  std::mutex mutex_;
  std::condition_variable done_;
  QEventLoop* loop_ = nullptr;
  bool isWanted_ = true;
  bool isDone_ = false;
};

PortalSession::PortalSession(std::shared_ptr<StrokeQueue> strokes, SessionWishes wishes,
                             Listener listener)
    : run_(std::make_shared<Run>(std::move(strokes), std::move(wishes), std::move(listener))) {}

PortalSession::~PortalSession() {
  end();
  if (!thread_) return;
  // Twice what a portal that has stopped may take. One that waits for the bus is left to itself:
  // it calls nobody any more.
  constexpr std::chrono::seconds patience(1);
  const bool isOwnThread = thread_->get_id() == std::this_thread::get_id();
  if (!isOwnThread && run_->waitUntilDone(patience)) {
    thread_->join();
  } else {
    thread_->detach();
  }
}

void PortalSession::start() {
  thread_ = stream::startThread("portal", [run = run_] { run->run(); });
  if (!thread_) run_->finish(stream::streamError::noThread);
}

void PortalSession::end() { run_->end(); }

}  // namespace vesk::portal::session

#include "platform/linux/portal/screen/PortalStream.h"

#include <mutex>
#include <utility>

#include "platform/linux/portal/screen/StreamImages.h"
#include "platform/linux/portal/session/PortalSession.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "platform/linux/stream/ThreadedStream.h"

namespace vesk::portal::screen {

/// What whoever starts and stops shares with the session's thread and the images'. Either of the
/// two may end first; it is told of once.
class PortalStream::Run final : public Question, public std::enable_shared_from_this<Run> {
 public:
  Run(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate, DisplayId display,
      const StreamConfiguration& configuration, const wayland::beneath::OwnSurfaces* leftOut,
      std::function<void(PlatformError)> onStopped)
      : strokes_(std::move(strokes)),
        gate_(gate),
        display_(display),
        configuration_(configuration),
        leftOut_(leftOut),
        onStopped_(std::move(onStopped)) {}

  void connect(Output output, SerialQueue& queue) {
    output_ = std::move(output);
    queue_ = &queue;
  }

  void start(Completion completion) {
    const auto weak = weak_from_this();
    auto shut = std::make_unique<ShutGate>(gate_);
    const std::lock_guard lock(mutex_);
    asking_ = std::move(shut);
    started_ = std::move(completion);
    session_ = std::make_unique<session::PortalSession>(
        strokes_, session::SessionWishes{.showsCursor = configuration_.showsCursor},
        session::PortalSession::Listener{[weak](session::Granted granted) {
                                           if (const auto run = weak.lock())
                                             run->show(std::move(granted));
                                         },
                                         [weak](const PlatformError& error) {
                                           if (const auto run = weak.lock()) run->end(error);
                                         }});
    session_->start();
  }

  void withdraw() override { end(session::sessionError::withdrawn, Unless::started); }

  /// Nothing is told of any more once this has returned, but for the completion.
  void stop(Completion completion) {
    std::unique_ptr<ScreenStream> images;
    std::unique_ptr<session::PortalSession> session;
    Completion started;
    {
      const std::lock_guard lock(mutex_);
      isOver_ = true;
      asking_.reset();
      images = std::move(images_);
      session = std::move(session_);
      started = std::exchange(started_, nullptr);
    }
    if (session != nullptr) session->end();
    if (started) started(session::sessionError::withdrawn);
    if (images == nullptr) {
      if (completion) completion(std::nullopt);
      return;
    }
    auto& target = *images;
    target.stopCapture([held = std::shared_ptr<ScreenStream>(std::move(images)),
                        completion = std::move(completion)](const auto& error) {
      if (completion) completion(error);
    });
  }

 private:
  /// On the session's thread: the person has agreed.
  void show(session::Granted granted) {
    const std::lock_guard lock(mutex_);
    if (isOver_) return;
    asking_.reset();
    const auto weak = weak_from_this();
    const auto ended = [weak](const PlatformError& error) {
      if (const auto run = weak.lock()) run->end(error);
    };
    images_ = std::make_unique<stream::ThreadedStream>(
        std::make_unique<StreamImages>(std::move(granted.remote), granted.node, display_,
                                       configuration_, leftOut_),
        configuration_.framesPerSecond, ended);
    if (queue_ != nullptr) images_->addOutput(output_, *queue_);
    images_->startCapture([weak](const std::optional<PlatformError>& error) {
      const auto run = weak.lock();
      if (run == nullptr) return;
      if (error) return run->end(*error);
      if (const auto started = run->takeStarted()) started(std::nullopt);
    });
  }

  Completion takeStarted() {
    const std::lock_guard lock(mutex_);
    return std::exchange(started_, nullptr);
  }

  enum class Unless { over, started };

  /// Both, whichever of the session and the images has ended.
  void end(const PlatformError& error, Unless unless = Unless::over) {
    Completion started;
    {
      const std::lock_guard lock(mutex_);
      if (unless == Unless::started && started_ == nullptr) return;
      if (std::exchange(isOver_, true)) return;
      asking_.reset();
      started = std::exchange(started_, nullptr);
      if (session_ != nullptr) session_->end();
      if (images_ != nullptr) images_->stopCapture([](const auto&) {});
    }
    if (started) return started(error);
    onStopped_(error);
  }

  const std::shared_ptr<session::StrokeQueue> strokes_;
  InputGate& gate_;
  const DisplayId display_;
  const StreamConfiguration configuration_;
  const wayland::beneath::OwnSurfaces* const leftOut_;
  const std::function<void(PlatformError)> onStopped_;
  Output output_;
  SerialQueue* queue_ = nullptr;

  /// Taken twice by one thread where there is no other for it to start: that fails at once.
  std::recursive_mutex mutex_;
  bool isOver_ = false;
  /// While the desktop asks: the viewer cannot answer that.
  std::unique_ptr<ShutGate> asking_;
  Completion started_;
  std::unique_ptr<session::PortalSession> session_;
  std::unique_ptr<ScreenStream> images_;
};

PortalStream::PortalStream(std::shared_ptr<session::StrokeQueue> strokes, InputGate& gate,
                           DisplayId display, const StreamConfiguration& configuration,
                           const wayland::beneath::OwnSurfaces* leftOut,
                           std::function<void(PlatformError)> onStopped)
    : run_(std::make_shared<Run>(std::move(strokes), gate, display, configuration, leftOut,
                                 std::move(onStopped))) {}

PortalStream::~PortalStream() { run_->stop(nullptr); }

std::weak_ptr<Question> PortalStream::question() const { return run_; }

std::optional<PlatformError> PortalStream::addOutput(Output output, SerialQueue& queue) {
  run_->connect(std::move(output), queue);
  return std::nullopt;
}

void PortalStream::startCapture(Completion completion) { run_->start(std::move(completion)); }

void PortalStream::stopCapture(Completion completion) { run_->stop(std::move(completion)); }

}  // namespace vesk::portal::screen

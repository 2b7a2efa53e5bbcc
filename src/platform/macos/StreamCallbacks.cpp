#include "platform/macos/StreamCallbacks.h"

namespace vesk::mac {
namespace {

bool isCaller(std::thread::id told) { return told == std::this_thread::get_id(); }

/// For whoever asks: nobody waits for himself.
bool isOver(std::thread::id told) { return told == std::thread::id() || isCaller(told); }

}  // namespace

/// Notes who is called back, until what the call holds has ended, too. Made under the lock.
class StreamCallbacks::UnderWay {
 public:
  UnderWay(StreamCallbacks& owner, std::thread::id& told) : owner_(owner), told_(told) {
    told_ = std::this_thread::get_id();
  }
  ~UnderWay() {
    const std::lock_guard lock(owner_.mutex_);
    told_ = {};
    owner_.changed_.notify_all();
  }
  UnderWay(const UnderWay&) = delete;
  UnderWay& operator=(const UnderWay&) = delete;

 private:
  StreamCallbacks& owner_;
  std::thread::id& told_;
};

void StreamCallbacks::setOutput(ScreenStream::Output output) {
  const std::lock_guard lock(mutex_);
  output_.swap(output);
}

void StreamCallbacks::deliver(const StreamSample& sample, StreamOutputType type) {
  std::unique_lock lock(mutex_);
  if (!output_) return;
  const UnderWay here(*this, toldOfSample_);
  // A copy: the call may disconnect.
  const auto output = output_;
  lock.unlock();
  output(sample, type);
}

void StreamCallbacks::stopped(const PlatformError& error) {
  std::unique_lock lock(mutex_);
  if (!onStopped_) return;
  const UnderWay here(*this, toldOfEnd_);
  const auto onStopped = std::exchange(onStopped_, nullptr);
  lock.unlock();
  onStopped(error);
}

void StreamCallbacks::disconnect() {
  // What they hold ends after the lock.
  ScreenStream::Output output;
  std::function<void(PlatformError)> onStopped;
  std::unique_lock lock(mutex_);
  output.swap(output_);
  onStopped.swap(onStopped_);
  const int own = isCaller(toldOfSample_) || isCaller(toldOfEnd_) ? 1 : 0;
  disconnecting_ += own;
  changed_.notify_all();
  while (!isOver(toldOfSample_) || !isOver(toldOfEnd_)) {
    if (own > 0 && disconnecting_ > 1) break;
    changed_.wait(lock);
  }
  disconnecting_ -= own;
}

}  // namespace vesk::mac

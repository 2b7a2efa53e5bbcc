#include "input/InputBacklog.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace vesk {
namespace {

struct Entry {
  std::optional<std::size_t> bytes;  ///< of the viewer's message, where it is one
  Task task;
};

}  // namespace

/// What the two sides of the queue share.
class InputBacklog::State {
 public:
  /// Whether the message found its place.
  bool add(Entry entry) {
    std::deque<Entry> dropped;  // let go of outside the lock
    const std::lock_guard lock(mutex_);
    if (entry.bytes && (messages_ == mostMessages || bytes_ + *entry.bytes > mostBytes)) {
      dropped = withoutMessages();
      return false;
    }
    if (entry.bytes) {
      ++messages_;
      bytes_ += *entry.bytes;
    }
    entries_.push_back(std::move(entry));
    return true;
  }

  /// Whether somebody must be sent to do the work.
  bool needsRunner() {
    const std::lock_guard lock(mutex_);
    return !entries_.empty() && !std::exchange(running_, true);
  }

  void run() {
    while (auto entry = next()) entry->task();
  }

 private:
  std::deque<Entry> withoutMessages() {
    std::deque<Entry> all = std::exchange(entries_, {});
    for (auto& entry : all)
      if (!entry.bytes) entries_.push_back(std::move(entry));
    messages_ = 0;
    bytes_ = 0;
    return all;
  }

  std::optional<Entry> next() {
    const std::lock_guard lock(mutex_);
    if (entries_.empty()) {
      running_ = false;
      return std::nullopt;
    }
    Entry entry = std::move(entries_.front());
    entries_.pop_front();
    if (entry.bytes) {
      --messages_;
      bytes_ -= *entry.bytes;
    }
    return entry;
  }

  std::mutex mutex_;
  std::deque<Entry> entries_;
  std::size_t messages_ = 0;
  std::size_t bytes_ = 0;
  bool running_ = false;
};

InputBacklog::InputBacklog(std::unique_ptr<SerialQueue> queue)
    : state_(std::make_shared<State>()), queue_(std::move(queue)) {}

bool InputBacklog::addMessage(std::size_t bytes, Task task) {
  const bool added = state_->add({bytes, std::move(task)});
  run();
  return added;
}

void InputBacklog::add(Task task) {
  state_->add({std::nullopt, std::move(task)});
  run();
}

void InputBacklog::run() {
  if (state_->needsRunner()) queue_->async([state = state_] { state->run(); });
}

}  // namespace vesk

#pragma once

#include <cstddef>
#include <memory>

#include "platform/SerialQueue.h"

namespace vesk {

/// What waits for the input queue: the viewer's messages, in the order of their coming, and between
/// them what the program itself has to do there.
///
/// Messages come as fast as the agent can write, so they are bounded in number and bytes: where
/// more would wait, none of them is worth anything any more, and all are dropped. What the program
/// has to do is never dropped.
///
/// Thread: any may add; everything runs on the queue. Owns: the queue, and what waits until it has
/// run. Fails: a message by being dropped.
class InputBacklog {
 public:
  static constexpr std::size_t mostMessages = 1024;
  static constexpr std::size_t mostBytes = 4U << 20U;

  explicit InputBacklog(std::unique_ptr<SerialQueue> queue);

  /// Adds what deals with a message of so many bytes. False where every message that waited was
  /// dropped, and this one with them.
  [[nodiscard]] bool addMessage(std::size_t bytes, Task task);

  void add(Task task);

 private:
  class State;

  void run();

  std::shared_ptr<State> state_;
  std::unique_ptr<SerialQueue> queue_;
};

}  // namespace vesk

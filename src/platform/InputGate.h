#pragma once

#include <atomic>

namespace vesk {

/// Shut while the person is being asked something: a viewer must not be able to give the answer.
/// Thread: any. Counts: as often as it was closed it must be opened. Fails: never.
class InputGate {
 public:
  void close() { ++closed_; }
  void open() { --closed_; }
  bool isOpen() const { return closed_ == 0; }

 private:
  std::atomic<int> closed_ = 0;
};

}  // namespace vesk

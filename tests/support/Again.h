#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

namespace vesk::testing {

/// Does something again and again, on a thread of its own, for as long as it lives. What is done is
/// told how often it has been done before.
class Again {
 public:
  Again(std::chrono::microseconds pause, std::function<void(int)> act)
      : thread_([this, pause, act = std::move(act)] {
          for (int i = 0; !over_; ++i) {
            act(i);
            std::this_thread::sleep_for(pause);
          }
        }) {}
  ~Again() {
    over_ = true;
    thread_.join();
  }
  Again(const Again&) = delete;
  Again& operator=(const Again&) = delete;

 private:
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace vesk::testing

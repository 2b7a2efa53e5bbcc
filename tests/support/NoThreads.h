#pragma once

#include <pthread.h>

#include <cstddef>

namespace vesk::testing {

/// As long as this lives, no thread can be made: each would get more stack than there are
/// addresses.
class NoThreads {
 public:
  NoThreads() {
    constexpr std::size_t tooMuch = std::size_t{1} << 47;
    pthread_getattr_default_np(&before_);
    pthread_attr_t none = before_;
    pthread_attr_setstacksize(&none, tooMuch);
    pthread_setattr_default_np(&none);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t before_{};
};

}  // namespace vesk::testing

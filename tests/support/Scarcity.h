#pragma once

#include <pthread.h>
#include <sys/resource.h>

namespace vesk::testing {

/// While it lives, the system has no thread to give to this process: each would need more memory
/// than there are addresses.
class NoThreads {
 public:
  NoThreads();
  ~NoThreads();
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t before_{};
};

/// While it lives, the system has no descriptor to give to this process.
class NoDescriptors {
 public:
  NoDescriptors();
  ~NoDescriptors();
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit before_{};
};

}  // namespace vesk::testing

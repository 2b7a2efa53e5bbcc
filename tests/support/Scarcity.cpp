#include "support/Scarcity.h"

#include <unistd.h>

#include <stdexcept>

#include "platform/Descriptor.h"

namespace vesk::testing {

NoThreads::NoThreads() {
  constexpr std::size_t moreThanThereIs = std::size_t{1} << 47;
  pthread_attr_t huge{};
  ::pthread_getattr_default_np(&before_);
  ::pthread_getattr_default_np(&huge);
  ::pthread_attr_setstacksize(&huge, moreThanThereIs);
  const int refused = ::pthread_setattr_default_np(&huge);
  ::pthread_attr_destroy(&huge);
  if (refused != 0) throw std::runtime_error("the size of stacks cannot be set");
}

NoThreads::~NoThreads() {
  ::pthread_setattr_default_np(&before_);
  ::pthread_attr_destroy(&before_);
}

NoDescriptors::NoDescriptors() {
  ::getrlimit(RLIMIT_NOFILE, &before_);
  rlimit now = before_;
  now.rlim_cur = static_cast<rlim_t>(Descriptor(::dup(STDERR_FILENO)).get());
  if (::setrlimit(RLIMIT_NOFILE, &now) != 0) throw std::runtime_error("no limit can be set");
}

NoDescriptors::~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

}  // namespace vesk::testing

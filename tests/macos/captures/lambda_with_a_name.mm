// refused: a lambda that is kept and captures this, a reference or a pointer
#include <memory>

#include "platform/macos/DispatchQueue.h"

void count(vesk::mac::DispatchQueue& queue) {
  const auto count = std::make_shared<int>(0);
#ifdef MISTAKE
  const auto task = [&] { ++*count; };
#else
  const auto task = [count] { ++*count; };
#endif
  queue.async(task);
}

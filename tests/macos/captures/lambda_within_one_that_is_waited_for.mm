// refused: a lambda that is kept and captures this, a reference or a pointer
#include <memory>

#include "platform/macos/DispatchQueue.h"

void count(vesk::mac::DispatchQueue& first, vesk::mac::DispatchQueue& second) {
  first.sync([&] {
    const auto count = std::make_shared<int>(0);
#ifdef MISTAKE
    second.async([&] { ++*count; });
#else
    second.async([count] { ++*count; });
#endif
  });
}

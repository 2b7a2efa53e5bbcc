#include "macos/frameworks/Frameworks.h"
#include "platform/macos/AutoreleasePool.h"

namespace mac = vesk::fakes::mac;

void* objc_autoreleasePoolPush() { return &mac::system().pools.emplace_back(); }

void objc_autoreleasePoolPop(void* pool) {
  auto& pools = mac::system().pools;
  mac::system().poolsInDisorder |= pools.empty() || pool != &pools.back();
  if (!pools.empty()) pools.pop_back();
}

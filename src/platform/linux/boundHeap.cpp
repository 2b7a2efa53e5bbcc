#include "platform/linux/boundHeap.h"

#include <malloc.h>

namespace vesk {

void boundHeap() {
  constexpr int largeBlock = 256 << 10;
  constexpr int keptAtTheEnd = 1 << 20;
  constexpr int arenas = 2;
  ::mallopt(M_MMAP_THRESHOLD, largeBlock);
  ::mallopt(M_TRIM_THRESHOLD, keptAtTheEnd);
  ::mallopt(M_ARENA_MAX, arenas);
}

}  // namespace vesk

#include "platform/linux/wayland/screen/SharedBuffer.h"

#include <sys/mman.h>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/server/sharedMemory.h"

namespace vesk::wayland::screen {
namespace {

/// No output is larger, and what is multiplied stays in bounds.
constexpr std::int32_t longestEdge = 1 << 15;

bool isSound(const BufferLayout& layout) {
  return layout.width > 0 && layout.height > 0 && layout.width <= longestEdge &&
         layout.height <= longestEdge && layout.stride >= layout.width * 4 &&
         layout.stride <= longestEdge * 4 && layout.stride % 4 == 0;
}

}  // namespace

SharedBuffer::SharedBuffer(wl_shm* shm, const BufferLayout& layout) : layout_(layout) {
  if (!isSound(layout)) return;
  const auto bytes =
      static_cast<std::size_t>(layout.stride) * static_cast<std::size_t>(layout.height);
  const Descriptor memory = server::sharedMemory(bytes);
  // A pool's size is a number of 31 bits.
  if (!memory || bytes > INT32_MAX) return;
  void* const mapped = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): so does the system say that it failed
  if (mapped == MAP_FAILED) return;
  memory_ = {static_cast<std::uint8_t*>(mapped), bytes};
  const server::Proxy<wl_shm_pool> pool(
      wl_shm_create_pool(shm, memory.get(), static_cast<std::int32_t>(bytes)));
  buffer_.reset(wl_shm_pool_create_buffer(pool.get(), 0, layout.width, layout.height, layout.stride,
                                          layout.format));
}

SharedBuffer::~SharedBuffer() {
  if (!memory_.empty()) ::munmap(memory_.data(), memory_.size());
}

}  // namespace vesk::wayland::screen

#include "platform/linux/wayland/overlay/PictureBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "platform/Descriptor.h"

namespace vesk::wayland::overlay {
namespace {

/// Memory with the picture in it, if there is any to be had.
Descriptor memoryWith(const QImage& image) {
  const auto size = static_cast<std::size_t>(image.sizeInBytes());
  Descriptor memory(::memfd_create("vesk-remote", MFD_CLOEXEC));
  if (!memory || ::ftruncate(memory.get(), image.sizeInBytes()) != 0) return Descriptor();
  void* const mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  if (mapped == MAP_FAILED) return Descriptor();
  std::memcpy(mapped, image.constBits(), size);
  ::munmap(mapped, size);
  return memory;
}

}  // namespace

PictureBuffer::PictureBuffer(wl_shm* shm, const QImage& premultiplied) {
  const QImage image = premultiplied.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  const Descriptor memory = memoryWith(image);
  if (!memory) return;
  const server::Proxy<wl_shm_pool> pool(
      wl_shm_create_pool(shm, memory.get(), static_cast<std::int32_t>(image.sizeInBytes())));
  buffer_.reset(wl_shm_pool_create_buffer(pool.get(), 0, image.width(), image.height(),
                                          static_cast<std::int32_t>(image.bytesPerLine()),
                                          WL_SHM_FORMAT_ARGB8888));
  static constexpr wl_buffer_listener listener{
      [](void* self, wl_buffer*) { static_cast<PictureBuffer*>(self)->isReleased_ = true; }};
  wl_buffer_add_listener(buffer_.get(), &listener, this);
}

}  // namespace vesk::wayland::overlay

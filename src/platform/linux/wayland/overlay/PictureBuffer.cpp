#include "platform/linux/wayland/overlay/PictureBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/server/sharedMemory.h"

namespace vesk::wayland::overlay {
PictureBuffer::PictureBuffer(wl_shm* shm, const QImage& premultiplied) {
  const QImage image = premultiplied.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  const auto bytes = static_cast<std::size_t>(image.sizeInBytes());
  const Descriptor memory =
      server::sharedMemory(std::as_bytes(std::span(image.constBits(), bytes)));
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

#include "platform/linux/wayland/server/sharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace vesk::wayland::server {

Descriptor sharedMemory(std::size_t bytes) {
  Descriptor memory(::memfd_create("vesk-remote", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!memory || ::ftruncate(memory.get(), static_cast<off_t>(bytes)) != 0 ||
      ::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW) != 0)
    return {};
  const Descriptor second(::fcntl(memory.get(), F_DUPFD_CLOEXEC, 0));
  return second ? std::move(memory) : Descriptor();
}

Descriptor sharedMemory(std::span<const std::byte> content) {
  Descriptor memory = sharedMemory(content.size());
  for (std::size_t written = 0; memory && written < content.size();) {
    const auto count = ::pwrite(memory.get(), content.data() + written, content.size() - written,
                                static_cast<off_t>(written));
    if (count <= 0) return {};
    written += static_cast<std::size_t>(count);
  }
  return memory;
}

}  // namespace vesk::wayland::server

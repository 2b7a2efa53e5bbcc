#include "platform/linux/wayland/input/sealedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vesk::wayland::input {

Descriptor sealedFile(const std::string& text) {
  Descriptor file(::memfd_create("keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file) return file;
  const std::size_t size = text.size() + 1;
  std::size_t written = 0;
  while (written < size) {
    const auto count = ::write(file.get(), text.c_str() + written, size - written);
    if (count <= 0) return {};
    written += static_cast<std::size_t>(count);
  }
  constexpr int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
  if (::fcntl(file.get(), F_ADD_SEALS, seals) != 0) return {};
  return file;
}

}  // namespace vesk::wayland::input

#include "platform/linux/wayland/server/mappedText.h"

#include <sys/mman.h>

namespace vesk::wayland::server {

std::string mappedText(int file, std::uint32_t size) {
  void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  if (memory == MAP_FAILED) return {};
  std::string text(static_cast<const char*>(memory), size);
  ::munmap(memory, size);
  if (const auto end = text.find('\0'); end != std::string::npos) text.resize(end);
  return text;
}

}  // namespace vesk::wayland::server

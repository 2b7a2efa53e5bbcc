#include "platform/linux/wayland/input/sealedFile.h"

#include <fcntl.h>

#include <span>

#include "platform/linux/wayland/server/sharedMemory.h"

namespace vesk::wayland::input {

Descriptor sealedFile(const std::string& text) {
  auto file = server::sharedMemory(std::as_bytes(std::span(text.c_str(), text.size() + 1)));
  if (file && ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SEAL) != 0) return {};
  return file;
}

}  // namespace vesk::wayland::input

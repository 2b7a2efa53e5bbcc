#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/wayland/screen/PanelPixels.h"
#include "platform/linux/wayland/server/Proxy.h"

namespace vesk::wayland::screen {

/// Memory that is shared with the compositor, of a size that nobody can change any more.
///
/// Thread: the connection's. Owns: the memory and the compositor's name for it; the connection
/// outlives it. Fails: as an object that is false, where the layout is none, memory or a descriptor
/// is missing.
class SharedBuffer {
 public:
  SharedBuffer(wl_shm* shm, const BufferLayout& layout);
  ~SharedBuffer();
  SharedBuffer(const SharedBuffer&) = delete;
  SharedBuffer& operator=(const SharedBuffer&) = delete;

  explicit operator bool() const { return buffer_ != nullptr; }

  wl_buffer* get() const { return buffer_.get(); }
  const BufferLayout& layout() const { return layout_; }
  std::uint8_t* data() const { return memory_.data(); }

 private:
  BufferLayout layout_;
  std::span<std::uint8_t> memory_;
  server::Proxy<wl_buffer> buffer_;
};

}  // namespace vesk::wayland::screen

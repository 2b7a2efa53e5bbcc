#pragma once

#include <xcb/shm.h>

#include <cstddef>
#include <cstdint>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// Memory into which the server writes pixels. Nothing of it is left however this process ends.
///
/// Thread: one at a time. Owns: the segment; the connection outlives it. Fails: as an object that
/// is false.
class SharedPixels {
 public:
  SharedPixels(const Connection& connection, std::size_t bytes);
  ~SharedPixels();
  SharedPixels(const SharedPixels&) = delete;
  SharedPixels& operator=(const SharedPixels&) = delete;

  explicit operator bool() const { return pixels_ != nullptr; }

  std::uint8_t* data() { return pixels_; }
  const std::uint8_t* data() const { return pixels_; }
  xcb_shm_seg_t segment() const { return segment_; }

 private:
  const Connection& connection_;
  xcb_shm_seg_t segment_ = XCB_NONE;
  std::uint8_t* pixels_ = nullptr;
};

}  // namespace vesk::x11::server

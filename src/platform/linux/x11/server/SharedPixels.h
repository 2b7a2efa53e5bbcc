#pragma once

#include <xcb/shm.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/rectangles.h"

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

  /// Asks for what a drawable shows there, rows without a gap from `offset` on; `collect` waits
  /// until all that was asked for has come, and tells whether it has.
  void request(xcb_drawable_t drawable, const PixelRect& area, std::size_t offset);
  bool collect();

 private:
  const Connection& connection_;
  xcb_shm_seg_t segment_ = XCB_NONE;
  std::uint8_t* pixels_ = nullptr;
  std::vector<xcb_shm_get_image_cookie_t> requests_;
};

}  // namespace vesk::x11::server

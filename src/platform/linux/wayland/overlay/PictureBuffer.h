#pragma once

#include <QImage>

#include "platform/linux/wayland/server/Proxy.h"

namespace vesk::wayland::overlay {

/// A picture in memory that the compositor reads.
///
/// Thread: the connection's. Owns: the memory, until the compositor has let go of it too. Fails: as
/// no buffer, where there is no memory to be had.
class PictureBuffer {
 public:
  /// The connection that `shm` is of outlives this object.
  PictureBuffer(wl_shm* shm, const QImage& premultiplied);
  PictureBuffer(const PictureBuffer&) = delete;
  PictureBuffer& operator=(const PictureBuffer&) = delete;

  wl_buffer* get() const { return buffer_.get(); }

  /// Whether the compositor has said that it will not look at it any more.
  bool isReleased() const { return isReleased_; }

 private:
  server::Proxy<wl_buffer> buffer_;
  bool isReleased_ = false;
};

}  // namespace vesk::wayland::overlay

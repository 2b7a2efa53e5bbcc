#include "platform/linux/x11/server/SharedPixels.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace vesk::x11::server {

SharedPixels::SharedPixels(const Connection& connection, std::size_t bytes)
    : connection_(connection) {
  if (bytes == 0) return;
  const int id = ::shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
  if (id < 0) return;
  void* address = ::shmat(id, nullptr, 0);
  segment_ = xcb_generate_id(connection_.get());
  const ReplyPtr<xcb_generic_error_t> error(xcb_request_check(
      connection_.get(),
      xcb_shm_attach_checked(connection_.get(), segment_, static_cast<std::uint32_t>(id), 0)));
  // It goes with the last of those who use it.
  ::shmctl(id, IPC_RMID, nullptr);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): so does the system say that it failed
  if (address == reinterpret_cast<void*>(-1)) return;
  if (error != nullptr) {
    ::shmdt(address);
    return;
  }
  pixels_ = static_cast<std::uint8_t*>(address);
}

SharedPixels::~SharedPixels() {
  if (pixels_ == nullptr) return;
  xcb_shm_detach(connection_.get(), segment_);
  ::shmdt(pixels_);
}

void SharedPixels::request(xcb_drawable_t drawable, const PixelRect& area, std::size_t offset) {
  const auto place = rectangle(area);
  requests_.push_back(xcb_shm_get_image(connection_.get(), drawable, place.x, place.y, place.width,
                                        place.height, ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, segment_,
                                        static_cast<std::uint32_t>(offset)));
}

bool SharedPixels::collect() {
  bool complete = true;
  for (const auto request : requests_) {
    const ReplyPtr<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(connection_.get(), request, nullptr));
    complete = complete && reply != nullptr;
  }
  requests_.clear();
  return complete;
}

}  // namespace vesk::x11::server

#include "platform/linux/x11/screen/MonitorPixels.h"

#include "platform/linux/x11/screen/monitorArea.h"
#include "platform/linux/x11/screen/wholeRows.h"

namespace vesk::x11::screen {

MonitorPixels::MonitorPixels(const server::Connection& connection, const server::Monitor& monitor)
    : connection_(connection),
      monitor_(monitor),
      memory_(connection,
              static_cast<std::size_t>(stride()) * static_cast<std::size_t>(monitor.height)),
      unsure_(areaOf(monitor)) {}

void MonitorPixels::request(const std::vector<PixelRect>& rects) {
  for (const auto& rows : wholeRows(rects)) {
    const PixelRect asked{monitor_.x, monitor_.y + rows.first, monitor_.width,
                          rows.end - rows.first};
    unsure_ = around(unsure_, asked);
    const auto place = server::rectangle(asked);
    requests_.push_back(xcb_shm_get_image(connection_.get(), connection_.root(), place.x, place.y,
                                          place.width, place.height, ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          memory_.segment(),
                                          static_cast<std::uint32_t>(rows.first * stride())));
  }
}

bool MonitorPixels::collect() {
  bool complete = true;
  for (const auto request : requests_) {
    const server::ReplyPtr<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(connection_.get(), request, nullptr));
    complete = complete && reply != nullptr;
  }
  requests_.clear();
  return complete;
}

}  // namespace vesk::x11::screen

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
    memory_.request(connection_.root(), asked,
                    static_cast<std::size_t>(rows.first) * static_cast<std::size_t>(stride()));
  }
}

}  // namespace vesk::x11::screen

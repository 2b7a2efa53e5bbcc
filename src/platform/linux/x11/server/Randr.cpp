#include "platform/linux/x11/server/Randr.h"

#include <xcb/randr.h>

#include "platform/linux/x11/server/rectangles.h"
#include "platform/linux/x11/server/selectRootEvents.h"

namespace vesk::x11::server {

std::vector<Monitor> monitors(const Connection& connection) {
  std::vector<Monitor> found;
  if (!connection || !connection.offers("RANDR")) return found;
  const auto sizeRequest = xcb_get_geometry(connection.get(), connection.root());
  const auto request = xcb_randr_get_monitors(connection.get(), connection.root(), /*active=*/1);
  const ReplyPtr<xcb_get_geometry_reply_t> root(
      xcb_get_geometry_reply(connection.get(), sizeRequest, nullptr));
  const ReplyPtr<xcb_randr_get_monitors_reply_t> reply(
      xcb_randr_get_monitors_reply(connection.get(), request, nullptr));
  if (reply == nullptr || root == nullptr) return found;
  // One that the person has defined may reach beyond the screen, where there are no pixels.
  const PixelRect screen{0, 0, root->width, root->height};
  for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
       xcb_randr_monitor_info_next(&each)) {
    const auto& info = *each.data;
    if (xcb_randr_monitor_info_outputs_length(&info) == 0) continue;
    const auto area = intersection({info.x, info.y, info.width, info.height}, screen);
    if (area.isEmpty()) continue;
    found.push_back({*xcb_randr_monitor_info_outputs(&info), info.primary != 0, area.x, area.y,
                     area.width, area.height});
  }
  return found;
}

void selectMonitorEvents(const Connection& connection) {
  xcb_randr_select_input(connection.get(), connection.root(),
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  selectRootEvents(connection, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
}

}  // namespace vesk::x11::server

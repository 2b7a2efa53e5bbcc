#include "platform/linux/x11/beneath/Disturbance.h"

#include <algorithm>
#include <optional>

namespace vesk::x11::beneath {
namespace {

/// Where the window stands from now on, if the event tells.
std::optional<PixelRect> newFrame(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != XCB_CONFIGURE_NOTIFY) return std::nullopt;
  const auto& notice = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
  return PixelRect{notice.x, notice.y, notice.width + 2 * notice.border_width,
                   notice.height + 2 * notice.border_width};
}

/// A window manager puts a frame around an alert, which nobody knows before it is shown.
bool mayBringAnOwnWindow(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7f;
  return type == XCB_MAP_NOTIFY || type == XCB_REPARENT_NOTIFY;
}

}  // namespace

Disturbance disturbance(const xcb_generic_event_t& event, xcb_window_t window,
                        const std::vector<StackedWindow>& windows) {
  const auto known = std::ranges::find(windows, window, &StackedWindow::id);
  if (known == windows.end()) {
    return mayBringAnOwnWindow(event) ? Disturbance::ownWindow : Disturbance::none;
  }
  if (!known->own) return Disturbance::seam;
  // Own windows are raised time and again. That changes nothing beneath them.
  return newFrame(event) == known->frame ? Disturbance::none : Disturbance::ownWindow;
}

}  // namespace vesk::x11::beneath

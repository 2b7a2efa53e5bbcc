#include "platform/linux/x11/screen/ScreenDamage.h"

#include <xcb/xcbext.h>

#include <algorithm>
#include <span>
#include <utility>

#include "platform/linux/x11/screen/monitorArea.h"

namespace vesk::x11::screen {

ScreenDamage::ScreenDamage(const server::Connection& connection, const server::Monitor& monitor)
    : connection_(connection),
      monitor_(monitor),
      damage_(xcb_generate_id(connection.get())),
      region_(xcb_generate_id(connection.get())),
      event_(xcb_get_extension_data(connection.get(), &xcb_damage_id)->first_event) {
  auto* const c = connection_.get();
  xcb_damage_create(c, damage_, connection_.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  xcb_xfixes_create_region(c, region_, 0, nullptr);
}

bool ScreenDamage::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != event_ + XCB_DAMAGE_NOTIFY) return false;
  if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_) return false;
  drawn_ = true;
  return true;
}

std::vector<PixelRect> ScreenDamage::take(const beneath::Underneath* leftOut) {
  auto* const c = connection_.get();
  drawn_ = false;
  xcb_damage_subtract(c, damage_, XCB_NONE, region_);
  const bool everything = std::exchange(everything_, false);
  // What lies beneath own windows tells of itself.
  if (leftOut != nullptr && !everything) leftOut->cutOut(region_);
  const server::ReplyPtr<xcb_xfixes_fetch_region_reply_t> region(
      xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, region_), nullptr));
  if (everything) return {{0, 0, monitor_.width, monitor_.height}};
  return region == nullptr ? std::vector<PixelRect>{} : rectanglesOf(*region);
}

std::vector<PixelRect> ScreenDamage::rectanglesOf(
    const xcb_xfixes_fetch_region_reply_t& region) const {
  std::vector<PixelRect> found;
  const auto add = [&](const xcb_rectangle_t& rect) {
    const PixelRect inside = inMonitor({rect.x, rect.y, rect.width, rect.height}, monitor_);
    if (!inside.isEmpty()) found.push_back(inside);
  };
  const std::span rects(
      xcb_xfixes_fetch_region_rectangles(&region),
      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(&region)));
  if (rects.size() > mostRectangles) {
    add(region.extents);
  } else {
    std::ranges::for_each(rects, add);
  }
  return found;
}

}  // namespace vesk::x11::screen

#include "platform/linux/x11/beneath/DamageBeneath.h"

#include <xcb/damage.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <span>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {
namespace {

std::vector<PixelRect> rectanglesOf(const xcb_xfixes_fetch_region_reply_t& region) {
  const std::span all(xcb_xfixes_fetch_region_rectangles(&region),
                      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(&region)));
  std::vector<PixelRect> rects;
  rects.reserve(all.size());
  for (const auto& each : all) rects.push_back({each.x, each.y, each.width, each.height});
  return rects;
}

xcb_xfixes_region_t emptyRegion(const server::Connection& connection) {
  const xcb_xfixes_region_t region = xcb_generate_id(connection.get());
  xcb_xfixes_create_region(connection.get(), region, 0, nullptr);
  return region;
}

}  // namespace

DamageBeneath::DamageBeneath(const server::Connection& connection, const WindowsBeneath& beneath)
    : connection_(connection),
      beneath_(beneath),
      covered_(emptyRegion(connection)),
      drawn_(emptyRegion(connection)),
      scratch_(emptyRegion(connection)) {}

void DamageBeneath::setCovered(const std::vector<PixelRect>& parts) {
  const auto rects = server::rectangles(parts);
  xcb_xfixes_set_region(connection_.get(), covered_, static_cast<std::uint32_t>(rects.size()),
                        rects.data());
}

bool DamageBeneath::isTold(const xcb_generic_event_t& event) const {
  const auto* const damage = xcb_get_extension_data(connection_.get(), &xcb_damage_id);
  return (event.response_type & 0x7f) == damage->first_event + XCB_DAMAGE_NOTIFY;
}

bool DamageBeneath::note(const xcb_generic_event_t& event) {
  const auto& notice = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
  auto* const contents = beneath_.find(notice.drawable);
  if (contents != nullptr) contents->noteDamage();
  return contents != nullptr;
}

bool DamageBeneath::isWaiting() const {
  return std::ranges::any_of(beneath_.bottomToTop(), &WindowContents::hasDamage);
}

std::vector<PixelRect> DamageBeneath::take() {
  if (!isWaiting()) return {};
  auto* const c = connection_.get();
  xcb_xfixes_set_region(c, drawn_, 0, nullptr);
  for (auto* const contents : beneath_.bottomToTop()) contents->takeDamage(drawn_, scratch_);
  xcb_xfixes_intersect_region(c, drawn_, covered_, drawn_);
  const server::ReplyPtr<xcb_xfixes_fetch_region_reply_t> region(
      xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, drawn_), nullptr));
  return region == nullptr ? std::vector<PixelRect>{} : rectanglesOf(*region);
}

void DamageBeneath::cutOut(xcb_xfixes_region_t region) const {
  xcb_xfixes_subtract_region(connection_.get(), region, covered_, region);
}

}  // namespace vesk::x11::beneath

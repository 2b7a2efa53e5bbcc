#include "platform/linux/x11/server/Randr.h"

#include <xcb/randr.h>

#include <algorithm>
#include <span>
#include <utility>

namespace vesk::x11::server {
namespace {

std::optional<PixelSize> sizeOfMode(const Connection& connection, xcb_randr_mode_t mode) {
  const auto request = xcb_randr_get_screen_resources_current(connection.get(), connection.root());
  const ReplyPtr<xcb_randr_get_screen_resources_current_reply_t> resources(
      xcb_randr_get_screen_resources_current_reply(connection.get(), request, nullptr));
  if (resources == nullptr) return std::nullopt;
  const std::span modes(xcb_randr_get_screen_resources_current_modes(resources.get()),
                        static_cast<std::size_t>(
                            xcb_randr_get_screen_resources_current_modes_length(resources.get())));
  const auto found = std::ranges::find(modes, mode, &xcb_randr_mode_info_t::id);
  if (found == modes.end()) return std::nullopt;
  return PixelSize{found->width, found->height};
}

}  // namespace

std::vector<Monitor> monitors(const Connection& connection) {
  std::vector<Monitor> found;
  if (!connection || !connection.offers("RANDR")) return found;
  const auto request = xcb_randr_get_monitors(connection.get(), connection.root(), /*active=*/1);
  const ReplyPtr<xcb_randr_get_monitors_reply_t> reply(
      xcb_randr_get_monitors_reply(connection.get(), request, nullptr));
  if (reply == nullptr) return found;
  for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
       xcb_randr_monitor_info_next(&each)) {
    const auto& info = *each.data;
    if (xcb_randr_monitor_info_outputs_length(&info) == 0) continue;
    found.push_back({*xcb_randr_monitor_info_outputs(&info), info.primary != 0, info.x, info.y,
                     info.width, info.height});
  }
  return found;
}

std::optional<PixelSize> modeSize(const Connection& connection, DisplayId output) {
  const auto outputRequest = xcb_randr_get_output_info(connection.get(), output, XCB_CURRENT_TIME);
  const ReplyPtr<xcb_randr_get_output_info_reply_t> outputInfo(
      xcb_randr_get_output_info_reply(connection.get(), outputRequest, nullptr));
  if (outputInfo == nullptr || outputInfo->crtc == XCB_NONE) return std::nullopt;

  const auto crtcRequest =
      xcb_randr_get_crtc_info(connection.get(), outputInfo->crtc, XCB_CURRENT_TIME);
  const ReplyPtr<xcb_randr_get_crtc_info_reply_t> crtc(
      xcb_randr_get_crtc_info_reply(connection.get(), crtcRequest, nullptr));
  if (crtc == nullptr || crtc->mode == XCB_NONE) return std::nullopt;

  auto size = sizeOfMode(connection, crtc->mode);
  constexpr int turned = XCB_RANDR_ROTATION_ROTATE_90 | XCB_RANDR_ROTATION_ROTATE_270;
  if (size && (crtc->rotation & turned) != 0) std::swap(size->width, size->height);
  return size;
}

}  // namespace vesk::x11::server

#include "platform/linux/x11/server/grants.h"

#include <xcb/randr.h>

#include <algorithm>
#include <array>
#include <span>

#include "platform/linux/x11/server/pixelLayout.h"

namespace vesk::x11::server {
namespace {

bool isXWaylandOutput(const Connection& connection, xcb_randr_output_t output) {
  const auto request = xcb_randr_get_output_info(connection.get(), output, XCB_CURRENT_TIME);
  const ReplyPtr<xcb_randr_get_output_info_reply_t> info(
      xcb_randr_get_output_info_reply(connection.get(), request, nullptr));
  if (info == nullptr) return false;
  const std::string_view name(
      reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
      static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get())));
  return name.starts_with("XWAYLAND");
}

bool reachesTheScreen(const Connection& connection) {
  return connection && !servesWayland(connection);
}

}  // namespace

/// Newer ones say so by an extension, older ones by the names of their outputs.
bool servesWayland(const Connection& connection) {
  if (connection.offers("XWAYLAND")) return true;
  if (!connection.offers("RANDR")) return false;
  const auto request = xcb_randr_get_screen_resources_current(connection.get(), connection.root());
  const ReplyPtr<xcb_randr_get_screen_resources_current_reply_t> resources(
      xcb_randr_get_screen_resources_current_reply(connection.get(), request, nullptr));
  if (resources == nullptr) return false;
  const std::span outputs(
      xcb_randr_get_screen_resources_current_outputs(resources.get()),
      static_cast<std::size_t>(
          xcb_randr_get_screen_resources_current_outputs_length(resources.get())));
  return std::ranges::any_of(outputs,
                             [&](auto output) { return isXWaylandOutput(connection, output); });
}

bool grantsScreenCapture(const Connection& connection) {
  // The second row is what own windows are left out of the picture with.
  constexpr std::array needed{"MIT-SHM",   "DAMAGE", "XFIXES", "RANDR",
                              "Composite", "RENDER", "SHAPE"};
  return reachesTheScreen(connection) && pixelLayout(connection) &&
         std::ranges::all_of(needed, [&](auto name) { return connection.offers(name); });
}

bool grantsInput(const Connection& connection) {
  return reachesTheScreen(connection) && connection.offers("XTEST") &&
         connection.offers("XKEYBOARD");
}

}  // namespace vesk::x11::server

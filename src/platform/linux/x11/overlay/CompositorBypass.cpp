#include "platform/linux/x11/overlay/CompositorBypass.h"

#include <algorithm>
#include <span>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::overlay {
namespace {

bool coversTheScreen(const server::Connection& connection, xcb_window_t window) {
  const server::ReplyPtr<xcb_get_geometry_reply_t> place(xcb_get_geometry_reply(
      connection.get(), xcb_get_geometry(connection.get(), window), nullptr));
  const auto& screen = connection.screen();
  return place != nullptr && place->x <= 0 && place->y <= 0 &&
         place->x + place->width >= screen.width_in_pixels &&
         place->y + place->height >= screen.height_in_pixels && place->depth == screen.root_depth;
}

bool isUnmanagedInSight(const server::Connection& connection, xcb_window_t window) {
  const server::ReplyPtr<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(
          connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
  return attributes != nullptr && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
         attributes->override_redirect != 0 && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool asksForIt(const server::Connection& connection, xcb_window_t client) {
  return std::ranges::count(server::numbers(connection.get(), client, "_NET_WM_BYPASS_COMPOSITOR"),
                            1U) > 0;
}

}  // namespace

bool isCompositorLikelyAside(const server::Connection& connection) {
  auto* const c = connection.get();
  const server::ReplyPtr<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(c, xcb_query_tree(c, connection.root()), nullptr));
  if (tree == nullptr) return false;
  const std::span topLevel(xcb_query_tree_children(tree.get()),
                           static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
  const bool unmanaged = std::ranges::any_of(topLevel, [&](xcb_window_t window) {
    return isUnmanagedInSight(connection, window) && coversTheScreen(connection, window);
  });
  return unmanaged ||
         std::ranges::any_of(
             server::numbers(c, connection.root(), "_NET_CLIENT_LIST"), [&](xcb_window_t client) {
               return asksForIt(connection, client) && coversTheScreen(connection, client);
             });
}

}  // namespace vesk::x11::overlay

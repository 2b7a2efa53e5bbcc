#include "platform/linux/x11/overlay/CompositorBypass.h"

#include <algorithm>
#include <span>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11 {
namespace {

const xcb_screen_t& screenOf(const Connection& connection) {
  return *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
}

bool coversTheScreen(const Connection& connection, xcb_window_t window) {
  const ReplyPtr<xcb_get_geometry_reply_t> place(xcb_get_geometry_reply(
      connection.get(), xcb_get_geometry(connection.get(), window), nullptr));
  const auto& screen = screenOf(connection);
  return place != nullptr && place->x <= 0 && place->y <= 0 &&
         place->x + place->width >= screen.width_in_pixels &&
         place->y + place->height >= screen.height_in_pixels && place->depth == screen.root_depth;
}

bool isUnmanagedInSight(const Connection& connection, xcb_window_t window) {
  const ReplyPtr<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
      connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
  return attributes != nullptr && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
         attributes->override_redirect != 0 && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool asksForIt(const Connection& connection, xcb_window_t client) {
  return std::ranges::count(numbers(connection.get(), client, "_NET_WM_BYPASS_COMPOSITOR"), 1U) > 0;
}

}  // namespace

bool isCompositorLikelyAside(const Connection& connection) {
  auto* const c = connection.get();
  const ReplyPtr<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(c, xcb_query_tree(c, connection.root()), nullptr));
  if (tree == nullptr) return false;
  const std::span topLevel(xcb_query_tree_children(tree.get()),
                           static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
  const bool unmanaged = std::ranges::any_of(topLevel, [&](xcb_window_t window) {
    return isUnmanagedInSight(connection, window) && coversTheScreen(connection, window);
  });
  return unmanaged ||
         std::ranges::any_of(
             numbers(c, connection.root(), "_NET_CLIENT_LIST"), [&](xcb_window_t client) {
               return asksForIt(connection, client) && coversTheScreen(connection, client);
             });
}

}  // namespace vesk::x11

#include "platform/linux/x11/beneath/shownWindow.h"

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

std::optional<StackedWindow> shownWindow(xcb_connection_t* connection, xcb_window_t window) {
  constexpr int deepest = 8;
  StackedWindow shown;
  shown.id = window;
  shown.own = true;
  for (int depth = 0; depth < deepest; ++depth) {
    const server::ReplyPtr<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, shown.id), nullptr));
    if (tree == nullptr) return std::nullopt;
    if (tree->parent == tree->root) break;
    shown.id = tree->parent;
    shown.framed = true;
  }
  const server::ReplyPtr<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, shown.id), nullptr));
  if (geometry == nullptr) return std::nullopt;
  shown.border = geometry->border_width;
  shown.frame = {geometry->x, geometry->y, geometry->width + 2 * shown.border,
                 geometry->height + 2 * shown.border};
  return shown;
}

}  // namespace vesk::x11::beneath

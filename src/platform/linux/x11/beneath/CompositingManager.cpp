#include "platform/linux/x11/beneath/CompositingManager.h"

#include <string>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::beneath {

bool CompositingManager::hasMade(const server::Connection& connection, xcb_window_t other) const {
  return window != XCB_NONE && connection.makerOf(other) == connection.makerOf(window);
}

CompositingManager compositingManager(const server::Connection& connection,
                                      xcb_window_t compositor) {
  if (compositor == XCB_NONE) return {};
  auto* const c = connection.get();
  const auto check = server::numbers(c, connection.root(), "_NET_SUPPORTING_WM_CHECK");
  if (check.size() != 1) return {};
  CompositingManager manager{.window = check.front()};
  if (!manager.hasMade(connection, compositor)) return {};
  const std::string name = server::text(c, manager.window, "_NET_WM_NAME");
  const bool mutter = name == "GNOME Shell" || name.starts_with("Mutter");
  const bool kwin = name == "KWin";
  manager.padsFrames = mutter;
  manager.drawsFrames = kwin;
  manager.drawsWallpaper = mutter || kwin;
  manager.stacksByItself = mutter;
  return manager;
}

}  // namespace vesk::x11::beneath

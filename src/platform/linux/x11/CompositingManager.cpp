#include "platform/linux/x11/CompositingManager.h"

#include <string>

#include "platform/linux/x11/Properties.h"

namespace vesk::x11 {
namespace {

/// The server gives each of its clients a range of identifiers.
bool haveOneMaker(const Connection& connection, xcb_window_t a, xcb_window_t b) {
  return ((a ^ b) & ~xcb_get_setup(connection.get())->resource_id_mask) == 0;
}

}  // namespace

bool CompositingManager::hasMade(const Connection& connection, xcb_window_t other) const {
  return window != XCB_NONE && haveOneMaker(connection, window, other);
}

CompositingManager compositingManager(const Connection& connection, xcb_atom_t selection) {
  auto* const c = connection.get();
  const ReplyPtr<xcb_get_selection_owner_reply_t> compositor(
      xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr));
  const auto check = numbers(c, connection.root(), "_NET_SUPPORTING_WM_CHECK");
  if (compositor == nullptr || compositor->owner == XCB_NONE || check.size() != 1) return {};
  if (!haveOneMaker(connection, compositor->owner, check.front())) return {};
  const std::string name = text(c, check.front(), "_NET_WM_NAME");
  CompositingManager manager{.window = check.front()};
  const bool mutter = name == "GNOME Shell" || name.starts_with("Mutter");
  const bool kwin = name == "KWin";
  manager.padsFrames = mutter;
  manager.drawsFrames = kwin;
  manager.drawsWallpaper = mutter || kwin;
  manager.stacksByItself = mutter;
  return manager;
}

}  // namespace vesk::x11

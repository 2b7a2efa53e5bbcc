#include "platform/linux/x11/beneath/WindowStack.h"

#include <xcb/shape.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>

#include "platform/linux/x11/beneath/restackedWindow.h"
#include "platform/linux/x11/beneath/shownWindow.h"
#include "platform/linux/x11/server/Properties.h"
#include "platform/linux/x11/server/compositorSelection.h"
#include "platform/linux/x11/server/selectRootEvents.h"

namespace vesk::x11::beneath {
namespace {

StackedWindow describe(xcb_window_t id, const xcb_get_geometry_reply_t& geometry,
                       const xcb_get_window_attributes_reply_t& attributes) {
  StackedWindow window;
  window.id = id;
  window.border = geometry.border_width;
  window.frame = {geometry.x, geometry.y, geometry.width + 2 * window.border,
                  geometry.height + 2 * window.border};
  window.depth = geometry.depth;
  window.visual = attributes.visual;
  return window;
}

}  // namespace

WindowStack::WindowStack(const server::Connection& connection, const OwnWindows& ownWindows)
    : connection_(connection), ownWindows_(ownWindows), frames_(connection) {}

void WindowStack::watch() {
  auto* const c = connection_.get();
  server::selectRootEvents(connection_,
                           XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
  compositor_ = server::watchCompositorSelection(connection_);
  managerCheck_ = server::atom(c, "_NET_SUPPORTING_WM_CHECK");
  const auto* const fixes = xcb_get_extension_data(c, &xcb_xfixes_id);
  const auto* const shape = xcb_get_extension_data(c, &xcb_shape_id);
  if (fixes != nullptr) fixesEvent_ = fixes->first_event;
  if (shape != nullptr) shapeEvent_ = shape->first_event;
}

std::optional<xcb_window_t> WindowStack::handle(const xcb_generic_event_t& event) {
  if (tellsOfManager(event)) stale_ = managerStale_ = true;
  const auto window = changedWindow(event);
  if (!window || *window == connection_.root() || isOurs(*window)) return std::nullopt;
  stale_ = true;
  replaced_.insert(*window);
  if ((event.response_type & 0x7f) == XCB_DESTROY_NOTIFY) destroyed_.insert(*window);
  return window;
}

/// Whether another program may manage or compose the windows from now on.
bool WindowStack::tellsOfManager(const xcb_generic_event_t& event) const {
  const int type = event.response_type & 0x7f;
  if (type == fixesEvent_ + XCB_XFIXES_SELECTION_NOTIFY) return true;
  return type == XCB_PROPERTY_NOTIFY &&
         reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == managerCheck_;
}

/// The window of which an event tells that its place among the others, its outline, or its
/// contents' place in the server has changed.
std::optional<xcb_window_t> WindowStack::changedWindow(const xcb_generic_event_t& event) const {
  if (const auto window = restackedWindow(event)) return window;
  const int type = event.response_type & 0x7f;
  if (shapeEvent_ != 0 && type == shapeEvent_ + XCB_SHAPE_NOTIFY) {
    return reinterpret_cast<const xcb_shape_notify_event_t&>(event).affected_window;
  }
  switch (type) {
    case XCB_UNMAP_NOTIFY:
      return reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window;
    case XCB_DESTROY_NOTIFY:
      return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
    case XCB_GRAVITY_NOTIFY:
      return reinterpret_cast<const xcb_gravity_notify_event_t&>(event).window;
    default:
      return std::nullopt;
  }
}

/// What this connection itself has made is nothing to be shown.
bool WindowStack::isOurs(xcb_window_t window) const {
  return connection_.makerOf(window) == xcb_get_setup(connection_.get())->resource_id_base;
}

bool WindowStack::expectsOwnWindows() const {
  return !ownWindows_.all().empty() || std::ranges::any_of(windows_, &StackedWindow::own);
}

void WindowStack::read() {
  stale_ = false;
  auto* const c = connection_.get();
  const auto owner = xcb_get_selection_owner(c, compositor_);
  const auto children = childrenOfRoot();
  std::vector<std::pair<xcb_get_geometry_cookie_t, xcb_get_window_attributes_cookie_t>> requests;
  requests.reserve(children.size());
  for (const auto id : children) {
    requests.emplace_back(xcb_get_geometry(c, id), xcb_get_window_attributes(c, id));
  }
  const auto ownShown = ownAmong(children);
  std::vector<StackedWindow> found;
  for (std::size_t i = 0; i < children.size(); ++i) {
    const server::ReplyPtr<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, requests[i].first, nullptr));
    const server::ReplyPtr<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, requests[i].second, nullptr));
    if (geometry == nullptr || attributes == nullptr) continue;
    if (attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
      continue;
    }
    auto& window = found.emplace_back(describe(children[i], *geometry, *attributes));
    const auto own = std::ranges::find(ownShown, window.id, &StackedWindow::id);
    window.own = own != ownShown.end();
    window.framed = window.own && own->framed;
  }
  windows_ = std::move(found);
  const server::ReplyPtr<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(c, owner, nullptr));
  const xcb_window_t compositor = reply == nullptr ? xcb_window_t{XCB_NONE} : reply->owner;
  composited_ = compositor != XCB_NONE;
  if (std::exchange(managerStale_, false)) manager_ = compositingManager(connection_, compositor);
  frames_.measure(windows_, manager_);
}

std::vector<xcb_window_t> WindowStack::childrenOfRoot() const {
  const server::ReplyPtr<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
      connection_.get(), xcb_query_tree(connection_.get(), connection_.root()), nullptr));
  if (tree == nullptr) return {};
  const std::span all(xcb_query_tree_children(tree.get()),
                      static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
  std::vector<xcb_window_t> others;
  std::ranges::copy_if(all, std::back_inserter(others), [&](auto id) { return !isOurs(id); });
  return others;
}

/// The alert lies in a frame that the window manager has made, perhaps in a frame of that one. The
/// frame outlives the alert by a moment, and any own window its place in the registry.
std::vector<StackedWindow> WindowStack::ownAmong(const std::vector<xcb_window_t>& children) const {
  std::vector<StackedWindow> own;
  std::ranges::copy_if(windows_, std::back_inserter(own), [&](const StackedWindow& window) {
    return window.own && !destroyed_.contains(window.id);
  });
  for (const auto& left : ownWindows_.justLeft(OwnWindows::Time::clock::now())) {
    own.push_back(left.window);
  }
  for (const auto id : ownWindows_.all()) {
    if (std::ranges::count(children, id) > 0) {
      own.emplace_back().id = id;
    } else if (const auto shown = shownWindow(connection_.get(), id)) {
      own.push_back(*shown);
    }
  }
  return own;
}

}  // namespace vesk::x11::beneath

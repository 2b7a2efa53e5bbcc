#include "platform/linux/x11/beneath/FrameGeometry.h"

#include <deque>
#include <span>
#include <utility>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::beneath {
namespace {

/// `rect` grown by what the manager says of the frame's sides: left, right, top, bottom.
PixelRect withFrame(const PixelRect& rect, const std::vector<std::uint32_t>& sides) {
  const auto side = [&](std::size_t i) { return static_cast<std::int32_t>(sides.at(i)); };
  return {rect.x - side(0), rect.y - side(2), rect.width + side(0) + side(1),
          rect.height + side(2) + side(3)};
}

}  // namespace

void FrameGeometry::measure(std::vector<StackedWindow>& windows,
                            const CompositingManager& manager) {
  auto before = std::exchange(known_, {});
  for (auto& window : windows) {
    window.shown = window.kept = window.frame;
    if (!manager.padsFrames && !manager.drawsFrames) continue;
    if (!manager.hasMade(connection_, window.id)) continue;
    const auto found = before.find(window.id);
    const bool fits = found != before.end() && found->second.frame.width == window.frame.width &&
                      found->second.frame.height == window.frame.height;
    const auto known = fits ? found->second : inspect(window, manager);
    window.shown = moved(known.shown, window.frame.x, window.frame.y);
    window.kept = moved(known.kept, window.frame.x, window.frame.y);
    // A frame that is shown whole may be one that its window has not come into yet.
    if (known.kept != known.frame) known_[window.id] = known;
  }
}

FrameGeometry::Known FrameGeometry::inspect(const StackedWindow& window,
                                            const CompositingManager& manager) const {
  const PixelRect whole{0, 0, window.frame.width, window.frame.height};
  Known known{whole, whole, whole};
  auto* const c = connection_.get();
  const xcb_window_t client = clientIn(window.id, manager);
  if (client == XCB_NONE) return known;
  const auto geometryRequest = xcb_get_geometry(c, client);
  const auto placeRequest = xcb_translate_coordinates(c, client, window.id, 0, 0);
  const server::ReplyPtr<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(c, geometryRequest, nullptr));
  const server::ReplyPtr<xcb_translate_coordinates_reply_t> place(
      xcb_translate_coordinates_reply(c, placeRequest, nullptr));
  if (geometry == nullptr || place == nullptr) return known;
  const PixelRect inside{place->dst_x, place->dst_y, geometry->width, geometry->height};
  const auto sides = server::numbers(c, client, "_NET_FRAME_EXTENTS");
  if (manager.padsFrames && sides.size() == 4) {
    known.shown = known.kept = intersection(withFrame(inside, sides), whole);
  }
  if (manager.drawsFrames) known.kept = intersection(inside, whole);
  return known;
}

/// The first window in the frame that the manager has not made itself; none where there is none.
xcb_window_t FrameGeometry::clientIn(xcb_window_t frame, const CompositingManager& manager) const {
  constexpr int most = 16;  // frames have few windows of their own: one between, some to feel
  auto* const c = connection_.get();
  std::deque<xcb_window_t> left{frame};
  for (int looked = 0; looked < most && !left.empty(); ++looked) {
    const server::ReplyPtr<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, left.front()), nullptr));
    left.pop_front();
    if (tree == nullptr) continue;
    const std::span children(xcb_query_tree_children(tree.get()),
                             static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    for (const xcb_window_t child : children) {
      if (!manager.hasMade(connection_, child)) return child;
      left.push_back(child);
    }
  }
  return XCB_NONE;
}

}  // namespace vesk::x11::beneath

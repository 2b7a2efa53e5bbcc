#include "platform/linux/x11/overlay/OverlayStack.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "platform/linux/x11/beneath/restackedWindow.h"
#include "platform/linux/x11/overlay/XOverlay.h"

namespace vesk::x11::overlay {
namespace {

/// Two programs that both want to be on top, a screen locker for one, must not chase each other.
constexpr int millisecondsBetweenRaises = 250;

}  // namespace

OverlayStack::OverlayStack(const server::Connection& connection)
    : connection_(connection),
      notifier_(xcb_get_file_descriptor(connection_.get()), QSocketNotifier::Read),
      compositor_(connection) {
  laterRaise_.setSingleShot(true);
  QObject::connect(&laterRaise_, &QTimer::timeout, [this] { raise(); });
  QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { readEvents(); });
  if (!connection_) return;
  watchWindows(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
}

OverlayStack::~OverlayStack() {
  if (!connection_) return;
  compositor_.end();
  watchWindows(XCB_EVENT_MASK_NO_EVENT);
  // What came until now is nobody's any more.
  connection_.dropEvents();
}

/// Panels get no shadow and are not faded in. Where there are layers, theirs is below menus, and
/// that of notices is with them.
std::string_view OverlayStack::windowType() const {
  return compositor_.manager().stacksByItself ? "_NET_WM_WINDOW_TYPE_NOTIFICATION"
                                              : "_NET_WM_WINDOW_TYPE_DOCK";
}

void OverlayStack::orderFront(XOverlay& overlay) {
  std::erase(overlays_, &overlay);
  overlays_.insert(overlays_.begin(), &overlay);
  raise();
}

void OverlayStack::settle() {
  auto* const c = connection_.get();
  // Any question will do: the server answers in the order of what it is asked.
  const server::ReplyPtr<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
  // The reply may have brought events along, of which the notifier knows nothing.
  readEvents();
}

void OverlayStack::orderOut(XOverlay& overlay) {
  std::erase(overlays_, &overlay);
  paintBorders();
}

void OverlayStack::paintBorders() const {
  for (auto* const overlay : overlays_) overlay->paintBorder();
}

std::vector<banner::Tab> OverlayStack::tabsAbove(const XOverlay& overlay) const {
  std::vector<banner::Tab> tabs;
  for (const auto* const each : overlays_) {
    if (each == &overlay) break;
    if (const auto tab = each->tab()) tabs.push_back(*tab);
  }
  return tabs;
}

void OverlayStack::watchWindows(std::uint32_t events) const {
  xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_EVENT_MASK, &events);
  xcb_flush(connection_.get());
}

void OverlayStack::readEvents() {
  while (const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    handle(*event);
  }
  // A socket whose other end is gone stays readable for ever.
  if (!connection_) notifier_.setEnabled(false);
}

void OverlayStack::handle(const xcb_generic_event_t& event) {
  if (compositor_.handle(event)) adapt();
  if (!mayHide(event)) return;
  hidden_ = hidden_ || compositor_.manager().stacksByItself;
  raiseSoon();
}

/// Whether another program has put a window, or may have put it, above ours.
bool OverlayStack::mayHide(const xcb_generic_event_t& event) const {
  const auto window = beneath::restackedWindow(event);
  if (!window || isOwn(*window)) return false;
  if (!compositor_.manager().stacksByItself) return true;
  if ((event.response_type & 0x7f) != XCB_MAP_NOTIFY) return false;
  // What it manages is below.
  if (reinterpret_cast<const xcb_map_notify_event_t&>(event).override_redirect == 0) return false;
  const server::ReplyPtr<xcb_get_geometry_reply_t> place(xcb_get_geometry_reply(
      connection_.get(), xcb_get_geometry(connection_.get(), *window), nullptr));
  if (place == nullptr) return false;
  const PixelRect frame{place->x, place->y, place->width, place->height};
  return std::ranges::any_of(overlays_,
                             [&](const XOverlay* overlay) { return overlay->meets(frame); });
}

void OverlayStack::adapt() {
  for (auto* const overlay : overlays_) overlay->adapt();
  raise();
}

bool OverlayStack::isOwn(xcb_window_t window) const {
  return std::ranges::any_of(overlays_, [&](const XOverlay* overlay) {
    return std::ranges::count(overlay->windows(), window) > 0;
  });
}

void OverlayStack::raiseSoon() {
  if (overlays_.empty() || laterRaise_.isActive()) return;
  const qint64 elapsed = sinceRaised_.elapsed();
  if (elapsed >= millisecondsBetweenRaises) {
    raise();
  } else {
    laterRaise_.start(static_cast<int>(millisecondsBetweenRaises - elapsed));
  }
}

void OverlayStack::stack(xcb_window_t window, std::optional<xcb_window_t> above) const {
  if (above) {
    const std::array<std::uint32_t, 2> belowIt{*above, XCB_STACK_MODE_BELOW};
    xcb_configure_window(connection_.get(), window,
                         XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, belowIt.data());
  } else {
    const std::uint32_t onTop = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &onTop);
  }
}

void OverlayStack::raise() {
  sinceRaised_.start();
  if (std::exchange(hidden_, false)) mapAnew();
  // From top to bottom, each below the one before: where all is in place already, the server
  // changes nothing, and no compositor draws anything anew.
  std::optional<xcb_window_t> above;
  for (const auto* const overlay : overlays_) {
    for (const xcb_window_t window : overlay->windows()) {
      stack(window, above);
      above = window;
    }
  }
  xcb_flush(connection_.get());
}

/// From bottom to top.
void OverlayStack::mapAnew() {
  std::for_each(overlays_.rbegin(), overlays_.rend(), [](XOverlay* each) { each->mapAnew(); });
}

}  // namespace vesk::x11::overlay

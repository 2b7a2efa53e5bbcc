#include "platform/linux/x11/overlay/CompositorWatch.h"

#include <xcb/xfixes.h>

#include "platform/linux/x11/overlay/CompositorBypass.h"
#include "platform/linux/x11/server/compositorSelection.h"

namespace vesk::x11::overlay {
namespace {

/// Whether the server itself made the window: the one that a compositor shows its picture in.
bool isServersOwn(const server::Connection& connection, xcb_window_t window) {
  return connection.makerOf(window) == 0;
}

}  // namespace

CompositorWatch::CompositorWatch(const server::Connection& connection) : connection_(connection) {
  if (!connection_) return;
  auto* const c = connection_.get();
  const auto* const extension = xcb_get_extension_data(c, &xcb_xfixes_id);
  if (extension == nullptr || extension->present == 0) return;
  // Without having asked for the version, nothing else of the extension is answered.
  const server::ReplyPtr<xcb_xfixes_query_version_reply_t> version(
      xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
  selectionNotify_ = extension->first_event + XCB_XFIXES_SELECTION_NOTIFY;

  // Asked after the wish to be told, so that none slips through in between.
  const xcb_atom_t selection = server::watchCompositorSelection(connection_);
  const server::ReplyPtr<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr));
  const xcb_window_t compositor = owner == nullptr ? xcb_window_t{XCB_NONE} : owner->owner;
  manager_ = beneath::compositingManager(connection_, compositor);
  composited_ = compositor != XCB_NONE;
  // The compositor's own window cannot be asked about without bringing it up.
  aside_ = asideIsGuess_ = composited_ && isCompositorLikelyAside(connection_);
}

void CompositorWatch::end() {
  if (selectionNotify_ >= 0) server::ignoreCompositorSelection(connection_);
}

Composition CompositorWatch::composition() const {
  if (!composited_) return Composition::none;
  return aside_ ? Composition::bypassed : Composition::blended;
}

bool CompositorWatch::handle(const xcb_generic_event_t& event) {
  const Composition before = composition();
  follow(event);
  return composition() != before;
}

void CompositorWatch::follow(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7f;
  if (type == selectionNotify_) {
    const auto& notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
    manager_ = beneath::compositingManager(connection_, notify.owner);
    set(notify.owner != XCB_NONE, /*aside=*/false);
  } else if (type == XCB_UNMAP_NOTIFY) {
    const auto& notify = reinterpret_cast<const xcb_unmap_notify_event_t&>(event);
    if (isServersOwn(connection_, notify.window)) {
      set(composited_, /*aside=*/true);
    } else if (asideIsGuess_ && !isCompositorLikelyAside(connection_)) {
      set(composited_, /*aside=*/false);
    }
  } else if (type == XCB_MAP_NOTIFY) {
    const auto& notify = reinterpret_cast<const xcb_map_notify_event_t&>(event);
    if (isServersOwn(connection_, notify.window)) set(composited_, /*aside=*/false);
  }
}

void CompositorWatch::set(bool composited, bool aside) {
  composited_ = composited;
  aside_ = aside;
  asideIsGuess_ = false;
}

}  // namespace vesk::x11::overlay

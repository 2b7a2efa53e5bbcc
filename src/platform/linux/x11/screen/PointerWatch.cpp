#include "platform/linux/x11/screen/PointerWatch.h"

#include <xcb/xcbext.h>
#include <xcb/xinput.h>

namespace vesk::x11::screen {
namespace {

/// Whether the server tells of motion though another program has grabbed the pointer. It does so
/// for those only who have asked for the version.
bool tellsInSpiteOfGrabs(xcb_connection_t* c) {
  const server::ReplyPtr<xcb_input_xi_query_version_reply_t> version(
      xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
  if (version == nullptr) return false;
  return std::pair<int, int>(version->major_version, version->minor_version) >= std::pair(2, 1);
}

}  // namespace

PointerWatch::PointerWatch(const server::Connection& connection) : connection_(connection) {
  const auto* const extension = xcb_get_extension_data(connection_.get(), &xcb_input_id);
  if (extension == nullptr || extension->present == 0) return;
  if (tellsInSpiteOfGrabs(connection_.get())) extension_ = extension->major_opcode;
}

void PointerWatch::handle(const xcb_generic_event_t& event, Time now) {
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC) return;
  const auto& told = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (told.extension == extension_ && told.event_type == XCB_INPUT_RAW_MOTION) wake(now);
}

void PointerWatch::see(int x, int y, Time now) {
  const std::pair seen(x, y);
  if (place_ != seen) {
    place_ = seen;
    wake(now);
  } else if (extension_ && now - restsSince_ >= beforeItRests) {
    // It may have moved before the server learns that it is to tell of that: one look is to follow.
    if (isTold_) nextLook_ = now + betweenLooks;
    beTold(true);
  }
}

void PointerWatch::wake(Time now) {
  restsSince_ = now;
  nextLook_ = {};
  beTold(false);
}

/// Goes out with the next question.
void PointerWatch::beTold(bool wished) {
  if (isTold_ == wished) return;
  isTold_ = wished;
  const struct {
    xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
    std::uint32_t events;
  } mask{.events = wished ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_MOTION} : 0};
  xcb_input_xi_select_events(connection_.get(), connection_.root(), 1, &mask.head);
}

}  // namespace vesk::x11::screen

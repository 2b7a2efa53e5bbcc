#include "platform/linux/x11/input/XKeyboard.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>

#include "platform/linux/x11/server/Xkb.h"

namespace vesk::x11::input {
namespace {

void selectKeyMapEvents(xcb_connection_t* connection) {
  constexpr std::uint16_t events =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                  XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                  XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
  xcb_xkb_select_events(connection, server::coreKeyboard, events, 0, events, parts, parts, nullptr);
}

}  // namespace

XKeyboard::XKeyboard(const server::Connection& connection)
    : connection_(connection), context_(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES)) {
  if (!connection_ || context_ == nullptr) return;
  if (xkb_x11_setup_xkb_extension(
          connection_.get(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
          XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent_, nullptr) == 0) {
    context_.reset();
    return;
  }
  xkb_context_set_log_level(context_.get(), XKB_LOG_LEVEL_CRITICAL);
  selectKeyMapEvents(connection_.get());
}

void XKeyboard::leaveOut(std::span<const xcb_keycode_t> mine) {
  mine_.assign(mine.begin(), mine.end());
}

void XKeyboard::refresh() {
  if (context_ == nullptr) return;
  while (const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
    note(*event);
  if (stale_) read();
}

void XKeyboard::note(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7F) != firstEvent_) return;
  // Every event of this extension has its kind in the second byte.
  if (event.pad0 == XCB_XKB_NEW_KEYBOARD_NOTIFY) stale_ = true;
  if (event.pad0 != XCB_XKB_MAP_NOTIFY) return;
  const auto& change = reinterpret_cast<const xcb_xkb_map_notify_event_t&>(event);
  const bool symbolsOnly =
      (change.changed & ~(XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP)) == 0;
  for (int i = 0; i < change.nKeySyms; ++i) {
    const auto keycode = static_cast<xcb_keycode_t>(change.firstKeySym + i);
    if (std::ranges::find(mine_, keycode) == mine_.end()) stale_ = true;
  }
  if (!symbolsOnly) stale_ = true;
}

void XKeyboard::read() {
  const auto device = xkb_x11_get_core_keyboard_device_id(connection_.get());
  if (device < 0) return;
  layout_ = KeyboardLayout(keys::Xkb<xkb_keymap>(xkb_x11_keymap_new_from_device(
      context_.get(), connection_.get(), device, XKB_KEYMAP_COMPILE_NO_FLAGS)));
  if (layout_.isEmpty()) return;
  stale_ = false;
  ++generation_;
  levels_ = mostLevels(keyTypes(connection_));
}

Locks XKeyboard::locks() const {
  if (context_ == nullptr) return {};
  const server::ReplyPtr<xcb_xkb_get_state_reply_t> state(xcb_xkb_get_state_reply(
      connection_.get(), xcb_xkb_get_state(connection_.get(), server::coreKeyboard), nullptr));
  if (state == nullptr) return {};
  return {state->lockedMods, state->lockedGroup};
}

void XKeyboard::setLocks(Locks locks) const {
  if (context_ == nullptr) return;
  constexpr std::uint8_t all = 0xFF;
  constexpr std::uint8_t yes = 1;
  xcb_xkb_latch_lock_state(connection_.get(), server::coreKeyboard, all, locks.modifiers, yes,
                           locks.group, 0, 0, 0);
}

void XKeyboard::setLockedModifiers(XModifiers affected, XModifiers values) const {
  if (context_ == nullptr) return;
  xcb_xkb_latch_lock_state(connection_.get(), server::coreKeyboard, affected, values, 0, 0, 0, 0,
                           0);
}

}  // namespace vesk::x11::input

#include "platform/linux/x11/input/XKeyboard.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <array>
#include <bit>

#include "platform/linux/x11/input/KeyPositions.h"
#include "platform/linux/x11/server/Xkb.h"

namespace vesk::x11::input {
namespace {

constexpr auto coreKeyboard = static_cast<xcb_xkb_device_spec_t>(XCB_XKB_ID_USE_CORE_KBD);

std::span<const xkb_keysym_t> symbolsOf(EventFlags modifier) {
  static constexpr std::array shift{XKB_KEY_Shift_L, XKB_KEY_Shift_R};
  static constexpr std::array control{XKB_KEY_Control_L, XKB_KEY_Control_R};
  // On many layouts the right Alt key is the one that reaches the third level.
  static constexpr std::array alternate{XKB_KEY_Alt_L, XKB_KEY_Alt_R, XKB_KEY_Meta_L,
                                        XKB_KEY_Meta_R, XKB_KEY_ISO_Level3_Shift};
  static constexpr std::array command{XKB_KEY_Super_L, XKB_KEY_Super_R, XKB_KEY_Hyper_L,
                                      XKB_KEY_Hyper_R};
  static_assert(sizeof(shift[0]) == sizeof(xkb_keysym_t));
  const auto span = [](const auto& symbols) {
    return std::span(reinterpret_cast<const xkb_keysym_t*>(symbols.data()), symbols.size());
  };
  if (modifier == eventFlag::shift) return span(shift);
  if (modifier == eventFlag::control) return span(control);
  if (modifier == eventFlag::alternate) return span(alternate);
  if (modifier == eventFlag::command) return span(command);
  return {};
}

bool isOfKeypad(xkb_keysym_t symbol) {
  return symbol >= XKB_KEY_KP_Space && symbol <= XKB_KEY_KP_Equal;
}

std::optional<xkb_keysym_t> onlySymbol(xkb_keymap* keymap, xkb_keycode_t keycode,
                                       xkb_layout_index_t group, xkb_level_index_t level) {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &symbols);
  if (count != 1) return std::nullopt;
  return symbols[0];
}

/// The fewest modifiers that reach a level, without those in `shunned`.
std::optional<XModifiers> modifiersOf(xkb_keymap* keymap, xkb_keycode_t keycode,
                                      xkb_layout_index_t group, xkb_level_index_t level,
                                      XModifiers shunned) {
  std::array<xkb_mod_mask_t, 16> masks{};
  const auto count =
      xkb_keymap_key_get_mods_for_level(keymap, keycode, group, level, masks.data(), masks.size());
  std::optional<XModifiers> best;
  for (const auto mask : std::span(masks).first(count)) {
    if ((mask & (shunned | ~xkb_mod_mask_t{0xFF})) != 0) continue;
    if (best && std::popcount(*best) <= std::popcount(mask)) continue;
    best = static_cast<XModifiers>(mask);
  }
  return best;
}

void selectKeyMapEvents(xcb_connection_t* connection) {
  constexpr std::uint16_t events =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                  XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                  XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
  xcb_xkb_select_events(connection, coreKeyboard, events, 0, events, parts, parts, nullptr);
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

void XKeyboard::refresh(std::span<const xcb_keycode_t> mine) {
  if (context_ == nullptr) return;
  while (const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
    note(*event, mine);
  if (stale_) read();
}

void XKeyboard::note(const xcb_generic_event_t& event, std::span<const xcb_keycode_t> mine) {
  if ((event.response_type & 0x7F) != firstEvent_) return;
  // Every event of this extension has its kind in the second byte.
  if (event.pad0 == XCB_XKB_NEW_KEYBOARD_NOTIFY) stale_ = true;
  if (event.pad0 != XCB_XKB_MAP_NOTIFY) return;
  const auto& change = reinterpret_cast<const xcb_xkb_map_notify_event_t&>(event);
  const bool symbolsOnly =
      (change.changed & ~(XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP)) == 0;
  for (int i = 0; i < change.nKeySyms; ++i) {
    const auto keycode = static_cast<xcb_keycode_t>(change.firstKeySym + i);
    if (std::ranges::find(mine, keycode) == mine.end()) stale_ = true;
  }
  if (!symbolsOnly) stale_ = true;
}

void XKeyboard::read() {
  const auto device = xkb_x11_get_core_keyboard_device_id(connection_.get());
  if (device < 0) return;
  keymap_.reset(xkb_x11_keymap_new_from_device(context_.get(), connection_.get(), device,
                                               XKB_KEYMAP_COMPILE_NO_FLAGS));
  if (keymap_ == nullptr) return;
  stale_ = false;
  ++generation_;
  levels_ = mostLevels(keyTypes(connection_));
  strokes_.clear();
  const auto last = xkb_keymap_max_keycode(keymap_.get());
  for (auto keycode = xkb_keymap_min_keycode(keymap_.get()); keycode <= last; ++keycode)
    indexKey(keycode);
}

void XKeyboard::indexKey(xkb_keycode_t keycode) {
  const auto groups = xkb_keymap_num_layouts_for_key(keymap_.get(), keycode);
  for (xkb_layout_index_t group = 0; group < groups; ++group) {
    const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, group);
    for (xkb_level_index_t level = 0; level < levels; ++level) indexLevel(keycode, group, level);
  }
}

void XKeyboard::indexLevel(xkb_keycode_t keycode, xkb_layout_index_t group,
                           xkb_level_index_t level) {
  const auto symbol = onlySymbol(keymap_.get(), keycode, group, level);
  if (!symbol || isOfKeypad(*symbol)) return;
  const char32_t character = xkb_keysym_to_utf32(*symbol);
  if (character == 0) return;
  constexpr XModifiers control = 0x04;
  const auto modifiers = modifiersOf(keymap_.get(), keycode, group, level, capsLock | control);
  if (!modifiers) return;
  const Stroke stroke{static_cast<xcb_keycode_t>(keycode),
                      {*modifiers, static_cast<std::uint8_t>(group)}};
  strokes_.emplace(character, stroke);
}

std::optional<xcb_keycode_t> XKeyboard::keycodeAt(KeyCode key) const {
  const auto position = keyPosition(key);
  if (keymap_ == nullptr || position.empty()) return std::nullopt;
  const auto found = xkb_keymap_key_by_name(keymap_.get(), position.data());
  if (found == XKB_KEYCODE_INVALID || found > 255) return std::nullopt;
  return static_cast<xcb_keycode_t>(found);
}

std::vector<xcb_keycode_t> XKeyboard::keysOf(EventFlags modifier) const {
  std::vector<xcb_keycode_t> found;
  if (keymap_ == nullptr) return found;
  for (const auto wanted : symbolsOf(modifier)) {
    const auto last = xkb_keymap_max_keycode(keymap_.get());
    for (auto keycode = xkb_keymap_min_keycode(keymap_.get()); keycode <= last; ++keycode) {
      if (symbol(static_cast<xcb_keycode_t>(keycode), 0) == wanted)
        found.push_back(static_cast<xcb_keycode_t>(keycode));
    }
  }
  return found;
}

std::optional<Stroke> XKeyboard::strokeFor(char32_t character, std::uint8_t group,
                                           std::span<const xcb_keycode_t> excluded) const {
  const auto cost = [&](const Stroke& stroke) {
    constexpr int otherGroup = 8;  // more than any number of modifiers
    return std::popcount(stroke.locks.modifiers) + (stroke.locks.group == group ? 0 : otherGroup);
  };
  std::optional<Stroke> best;
  const auto [first, last] = strokes_.equal_range(character);
  for (auto entry = first; entry != last; ++entry) {
    const Stroke& stroke = entry->second;
    if (std::ranges::find(excluded, stroke.keycode) != excluded.end()) continue;
    if (!best || cost(stroke) < cost(*best)) best = stroke;
  }
  return best;
}

XModifiers XKeyboard::modifiersForDigit(xcb_keycode_t keycode) const {
  constexpr XModifiers shift = 0x01;
  if (keymap_ == nullptr) return 0;
  const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, 0);
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    const auto symbol = onlySymbol(keymap_.get(), keycode, 0, level);
    if (!symbol || xkb_keysym_to_utf32(*symbol) == 0) continue;
    return modifiersOf(keymap_.get(), keycode, 0, level, shift | capsLock).value_or(0);
  }
  return 0;
}

bool XKeyboard::isMapped(xkb_keycode_t keycode) const {
  const xkb_keysym_t* symbols = nullptr;
  const auto groups = xkb_keymap_num_layouts_for_key(keymap_.get(), keycode);
  for (xkb_layout_index_t group = 0; group < groups; ++group) {
    const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, group);
    for (xkb_level_index_t level = 0; level < levels; ++level) {
      if (xkb_keymap_key_get_syms_by_level(keymap_.get(), keycode, group, level, &symbols) > 0)
        return true;
    }
  }
  return false;
}

std::vector<xcb_keycode_t> XKeyboard::unmapped() const {
  std::vector<xcb_keycode_t> found;
  if (keymap_ == nullptr) return found;
  const auto last = std::min(xkb_keymap_max_keycode(keymap_.get()), xkb_keycode_t{255});
  for (auto keycode = xkb_keymap_min_keycode(keymap_.get()); keycode <= last; ++keycode)
    if (!isMapped(keycode)) found.push_back(static_cast<xcb_keycode_t>(keycode));
  return found;
}

xkb_keysym_t XKeyboard::symbol(xcb_keycode_t keycode, std::uint8_t level) const {
  if (keymap_ == nullptr) return XKB_KEY_NoSymbol;
  return onlySymbol(keymap_.get(), keycode, 0, level).value_or(XKB_KEY_NoSymbol);
}

Locks XKeyboard::locks() const {
  if (context_ == nullptr) return {};
  const server::ReplyPtr<xcb_xkb_get_state_reply_t> state(xcb_xkb_get_state_reply(
      connection_.get(), xcb_xkb_get_state(connection_.get(), coreKeyboard), nullptr));
  if (state == nullptr) return {};
  return {state->lockedMods, state->lockedGroup};
}

void XKeyboard::setLocks(Locks locks) const {
  if (context_ == nullptr) return;
  constexpr std::uint8_t all = 0xFF;
  constexpr std::uint8_t yes = 1;
  xcb_xkb_latch_lock_state(connection_.get(), coreKeyboard, all, locks.modifiers, yes, locks.group,
                           0, 0, 0);
}

void XKeyboard::setLockedModifiers(XModifiers affected, XModifiers values) const {
  if (context_ == nullptr) return;
  xcb_xkb_latch_lock_state(connection_.get(), coreKeyboard, affected, values, 0, 0, 0, 0, 0);
}

}  // namespace vesk::x11::input

#include "support/WlSeatLog.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/server/mappedText.h"

namespace vesk::testing {
namespace {

constexpr std::uint32_t seatVersion = 5;

template <typename... Parts>
std::string line(const Parts&... parts) {
  std::ostringstream stream;
  const char* separator = "";
  ((stream << separator << parts, separator = " "), ...);
  return stream.str();
}

const char* direction(std::uint32_t axis) {
  return axis == WL_POINTER_AXIS_VERTICAL_SCROLL ? "vertical" : "horizontal";
}

const char* stroke(bool isDown) { return isDown ? "down" : "up"; }

WlSeatLog& log(void* self) { return *static_cast<WlSeatLog*>(self); }

}  // namespace

std::size_t WlSeen::count(const std::string& line) const {
  return static_cast<std::size_t>(std::ranges::count_if(events, [&](const std::string& event) {
    return event == line || event.starts_with(line + " ");
  }));
}

WlSeatLog::WlSeatLog(wayland::server::Connection& connection)
    : seat_(connection.bind<wl_seat>(wl_seat_interface, seatVersion)) {
  static constexpr wl_seat_listener listener{
      [](void* self, wl_seat*, std::uint32_t capabilities) { log(self).take(capabilities); },
      [](void*, wl_seat*, const char*) {}};
  wl_seat_add_listener(seat_.get(), &listener, this);
}

void WlSeatLog::take(std::uint32_t capabilities) {
  const bool hasPointer = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
  const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
  if (!hasPointer) {
    pointer_.reset();
    seen_.hasPointer = false;
  }
  if (hasPointer && pointer_ == nullptr) takePointer();
  if (!hasKeyboard) {
    keyboard_.reset();
    state_.reset();
    seen_.hasFocus = false;
    seen_.keys.clear();
    seen_.modifiers = "0 0 0 0";
  }
  if (hasKeyboard && keyboard_ == nullptr) takeKeyboard();
}

void WlSeatLog::takePointer() {
  // Later versions of the library know of events that this version of the seat does not send.
  static constexpr wl_pointer_listener listener = [] {
    wl_pointer_listener events{};
    events.enter = [](void* self, wl_pointer*, std::uint32_t, wl_surface*, wl_fixed_t x,
                      wl_fixed_t y) { log(self).onEnter(x, y); };
    events.leave = [](void* self, wl_pointer*, std::uint32_t, wl_surface*) { log(self).onLeave(); };
    events.motion = [](void* self, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
      log(self).onMotion(x, y);
    };
    events.button = [](void* self, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t button,
                       std::uint32_t state) {
      log(self).onButton(button, state == WL_POINTER_BUTTON_STATE_PRESSED);
    };
    events.axis = [](void* self, wl_pointer*, std::uint32_t, std::uint32_t axis, wl_fixed_t value) {
      log(self).note(line("axis", direction(axis), wl_fixed_to_double(value)));
    };
    events.frame = [](void* self, wl_pointer*) { log(self).note("frame"); };
    events.axis_source = [](void* self, wl_pointer*, std::uint32_t source) {
      log(self).note(line("source", source));
    };
    events.axis_stop = [](void* self, wl_pointer*, std::uint32_t, std::uint32_t axis) {
      log(self).note(line("stop", direction(axis)));
    };
    events.axis_discrete = [](void* self, wl_pointer*, std::uint32_t axis, std::int32_t discrete) {
      log(self).note(line("discrete", direction(axis), discrete));
    };
    return events;
  }();
  pointer_.reset(wl_seat_get_pointer(seat_.get()));
  wl_pointer_add_listener(pointer_.get(), &listener, this);
}

void WlSeatLog::takeKeyboard() {
  static constexpr wl_keyboard_listener listener{
      [](void* self, wl_keyboard*, std::uint32_t, std::int32_t file, std::uint32_t size) {
        log(self).onKeymap(file, size);
      },
      [](void* self, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {
        log(self).seen_.hasFocus = true;
        log(self).note("focus");
      },
      [](void* self, wl_keyboard*, std::uint32_t, wl_surface*) {
        log(self).seen_.hasFocus = false;
        log(self).note("blur");
      },
      [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key,
         std::uint32_t state) { log(self).onKey(key, state == WL_KEYBOARD_KEY_STATE_PRESSED); },
      [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
         std::uint32_t locked,
         std::uint32_t group) { log(self).onModifiers(depressed, latched, locked, group); },
      [](void*, wl_keyboard*, std::int32_t, std::int32_t) {}};
  keyboard_.reset(wl_seat_get_keyboard(seat_.get()));
  wl_keyboard_add_listener(keyboard_.get(), &listener, this);
}

void WlSeatLog::onKeymap(int file, std::uint32_t size) {
  const Descriptor descriptor(file);
  seen_.keymap = wayland::server::mappedText(file, size);
  keymap_.reset(xkb_keymap_new_from_string(context_.get(), seen_.keymap.c_str(),
                                           XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
  state_.reset(keymap_ == nullptr ? nullptr : xkb_state_new(keymap_.get()));
  note(keymap_ == nullptr ? "broken keymap" : "keymap");
}

void WlSeatLog::onKey(std::uint32_t key, bool isDown) {
  note(line("key", key, stroke(isDown)));
  if (!isDown) {
    seen_.keys.erase(key);
    return;
  }
  seen_.keys.insert(key);
  if (state_ == nullptr) return;
  std::array<char, 16> utf8{};
  xkb_state_key_get_utf8(state_.get(), key + keys::keycodeOffset, utf8.data(), utf8.size());
  seen_.text += utf8.data();
}

void WlSeatLog::onButton(std::uint32_t button, bool isDown) {
  note(line("button", button, stroke(isDown)));
  if (isDown) {
    seen_.buttons.insert(button);
  } else {
    seen_.buttons.erase(button);
  }
}

void WlSeatLog::onEnter(wl_fixed_t x, wl_fixed_t y) {
  seen_.hasPointer = true;
  note("enter");
  onMotion(x, y);
}

void WlSeatLog::onLeave() {
  seen_.hasPointer = false;
  note("leave");
}

void WlSeatLog::onMotion(wl_fixed_t x, wl_fixed_t y) {
  seen_.pointer = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
  note(line("motion", seen_.pointer.x, seen_.pointer.y));
}

void WlSeatLog::onModifiers(std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
                            std::uint32_t group) {
  seen_.modifiers = line(depressed, latched, locked, group);
  note("modifiers " + seen_.modifiers);
  if (state_ != nullptr)
    xkb_state_update_mask(state_.get(), depressed, latched, locked, 0, 0, group);
}

}  // namespace vesk::testing

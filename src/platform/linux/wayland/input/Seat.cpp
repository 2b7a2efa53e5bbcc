#include "platform/linux/wayland/input/Seat.h"

#include <string_view>
#include <utility>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/input/ownKeymap.h"
#include "platform/linux/wayland/server/mappedText.h"

namespace vesk::wayland::input {
namespace {

constexpr std::uint32_t seatVersion = 5;

/// Programs that type by keymaps of their own have none of a keyboard's positions in them.
bool isOfKeyboard(xkb_keymap* keymap) {
  const auto has = [&](const char* position) {
    return xkb_keymap_key_by_name(keymap, position) != XKB_KEYCODE_INVALID;
  };
  return has("AC01") && has("SPCE") && has("LFSH");
}

}  // namespace

Seat::Seat(server::Connection& connection)
    : context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)),
      seat_(connection.bind<wl_seat>(wl_seat_interface, seatVersion)) {
  if (context_ != nullptr) xkb_context_set_log_level(context_.get(), XKB_LOG_LEVEL_CRITICAL);
  if (seat_ == nullptr) return;
  static constexpr wl_seat_listener listener{[](void* self, wl_seat*, std::uint32_t capabilities) {
                                               static_cast<Seat*>(self)->take(capabilities);
                                             },
                                             [](void*, wl_seat*, const char*) {}};
  wl_seat_add_listener(seat_.get(), &listener, this);
  const auto deadline = server::Connection::Clock::now() + server::Connection::patience;
  // Once for what the seat has, once more for its keymap.
  if (connection.settle(deadline)) connection.settle(deadline);
}

void Seat::take(std::uint32_t capabilities) {
  constexpr std::uint32_t both = WL_SEAT_CAPABILITY_POINTER | WL_SEAT_CAPABILITY_KEYBOARD;
  isEquipped_ = (capabilities & both) == both;
  const bool hasOne = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
  if (!hasOne) keyboard_.reset();
  if (!hasOne || keyboard_ != nullptr) return;
  keyboard_.reset(wl_seat_get_keyboard(seat_.get()));
  if (keyboard_ == nullptr) return;
  static constexpr wl_keyboard_listener listener{
      [](void* self, wl_keyboard*, std::uint32_t format, std::int32_t file, std::uint32_t size) {
        const Descriptor descriptor(file);
        if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1) static_cast<Seat*>(self)->take(file, size);
      },
      [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
      [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
      [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
      [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
         std::uint32_t) {},
      [](void*, wl_keyboard*, std::int32_t, std::int32_t) {}};
  wl_keyboard_add_listener(keyboard_.get(), &listener, this);
}

void Seat::take(int file, std::uint32_t size) {
  std::string text = server::mappedText(file, size);
  if (isOwnKeymapText(text)) expectsOwn_ = false;
  if (expectsOwn_ || text.empty() || isOwnKeymapText(text) || text == text_) return;
  text_ = std::move(text);
  isStale_ = true;
}

/// Compiled only when it is used: the compositor tells of keymaps more often than they are.
xkb_keymap* Seat::keymap() {
  if (context_ == nullptr) return nullptr;
  if (std::exchange(isStale_, false) && !text_.empty()) {
    keys::Xkb<xkb_keymap> told(xkb_keymap_new_from_string(
        context_.get(), text_.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (told != nullptr && isOfKeyboard(told.get())) keymap_ = std::move(told);
  }
  if (keymap_ == nullptr) {
    // By the names in the environment, and by the library's own where there are none.
    keymap_.reset(xkb_keymap_new_from_names(context_.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS));
  }
  return keymap_.get();
}

}  // namespace vesk::wayland::input

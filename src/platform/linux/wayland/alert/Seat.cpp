#include "platform/linux/wayland/alert/Seat.h"

#include <span>

#include "platform/Descriptor.h"
#include "platform/linux/wayland/server/mappedText.h"

namespace vesk::wayland::alert {
namespace {

constexpr std::uint32_t seatVersion = 5;

Point pointOf(wl_fixed_t x, wl_fixed_t y) { return {wl_fixed_to_double(x), wl_fixed_to_double(y)}; }

DeliberateAct::Keys keysOf(const wl_array& array) {
  DeliberateAct::Keys keys;
  const std::span numbers(static_cast<const std::uint32_t*>(array.data),
                          array.size / sizeof(std::uint32_t));
  for (const auto number : numbers) {
    if (number < keys.size()) keys.set(number);
  }
  return keys;
}

}  // namespace

Seat::Seat(server::Connection& connection, SeatWatcher& watcher)
    : watcher_(watcher), seat_(connection.bind<wl_seat>(wl_seat_interface, seatVersion)) {
  if (seat_ == nullptr) return;
  static constexpr wl_seat_listener listener{[](void* self, wl_seat*, std::uint32_t capabilities) {
                                               static_cast<Seat*>(self)->take(capabilities);
                                             },
                                             [](void*, wl_seat*, const char*) {}};
  wl_seat_add_listener(seat_.get(), &listener, this);
}

void Seat::take(std::uint32_t capabilities) {
  const bool hasPointer = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
  const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
  if (!hasPointer && pointer_ != nullptr) {
    watcher_.pointerLeaves();
    pointer_.reset();
  }
  if (!hasKeyboard && keyboard_ != nullptr) {
    watcher_.losesFocus();
    keyboard_.reset();
  }
  if (hasPointer && pointer_ == nullptr) takePointer();
  if (hasKeyboard && keyboard_ == nullptr) takeKeyboard();
}

void Seat::takePointer() {
  static constexpr wl_pointer_listener listener{
      [](void* self, wl_pointer*, std::uint32_t serial, wl_surface*, wl_fixed_t x, wl_fixed_t y) {
        static_cast<Seat*>(self)->watcher_.pointerEnters(serial, pointOf(x, y));
      },
      [](void* self, wl_pointer*, std::uint32_t, wl_surface*) {
        static_cast<Seat*>(self)->watcher_.pointerLeaves();
      },
      [](void* self, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
        static_cast<Seat*>(self)->watcher_.pointerMoves(pointOf(x, y));
      },
      [](void* self, wl_pointer*, std::uint32_t, std::uint32_t time, std::uint32_t button,
         std::uint32_t state) {
        const auto stroke = state == WL_POINTER_BUTTON_STATE_PRESSED ? Stroke::down : Stroke::up;
        static_cast<Seat*>(self)->watcher_.button(button, stroke, time);
      },
      [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
      [](void*, wl_pointer*) {},
      [](void*, wl_pointer*, std::uint32_t) {},
      [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
      [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
      [](void*, wl_pointer*, std::uint32_t, std::int32_t) {}};
  pointer_.reset(wl_seat_get_pointer(seat_.get()));
  wl_pointer_add_listener(pointer_.get(), &listener, this);
}

void Seat::takeKeyboard() {
  static constexpr wl_keyboard_listener listener{
      [](void* self, wl_keyboard*, std::uint32_t, std::int32_t file, std::uint32_t size) {
        static_cast<Seat*>(self)->takeKeymap(file, size);
      },
      [](void* self, wl_keyboard*, std::uint32_t, wl_surface*, wl_array* held) {
        static_cast<Seat*>(self)->watcher_.getsFocus(keysOf(*held));
      },
      [](void* self, wl_keyboard*, std::uint32_t, wl_surface*) {
        static_cast<Seat*>(self)->watcher_.losesFocus();
      },
      [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t time, std::uint32_t key,
         std::uint32_t state) {
        const auto stroke = state == WL_KEYBOARD_KEY_STATE_PRESSED ? Stroke::down : Stroke::up;
        static_cast<Seat*>(self)->watcher_.key(key, stroke, time);
      },
      [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
         std::uint32_t locked, std::uint32_t group) {
        static_cast<Seat*>(self)->keys_.setModifiers(depressed, latched, locked, group);
      },
      [](void*, wl_keyboard*, std::int32_t, std::int32_t) {}};
  keyboard_.reset(wl_seat_get_keyboard(seat_.get()));
  wl_keyboard_add_listener(keyboard_.get(), &listener, this);
}

void Seat::takeKeymap(int file, std::uint32_t size) {
  const Descriptor descriptor(file);
  keys_.setKeymap(server::mappedText(file, size));
}

}  // namespace vesk::wayland::alert

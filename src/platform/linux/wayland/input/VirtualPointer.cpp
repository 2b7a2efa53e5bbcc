#include "platform/linux/wayland/input/VirtualPointer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/linux/wayland/input/eventTime.h"

namespace vesk::wayland::input {
namespace {

constexpr std::uint32_t managerVersion = 2;

/// A position is told as so many parts of so many: finer than what programs are told of it.
constexpr double partsPerPoint = 256;

Key codeOf(MouseButton button) {
  switch (button) {
    case MouseButton::center:
      return BTN_MIDDLE;
    case MouseButton::right:
      return BTN_RIGHT;
    case MouseButton::left:
      break;
  }
  return BTN_LEFT;
}

/// The far edges belong to the neighbours.
double inside(double coordinate, double from, double length) {
  return std::clamp(coordinate, from, from + length - 1 / partsPerPoint);
}

std::uint32_t parts(double length) {
  return static_cast<std::uint32_t>(std::max(0.0, std::round(length * partsPerPoint)));
}

}  // namespace

VirtualPointer::VirtualPointer(server::Connection& connection, const server::OutputList& outputs,
                               const stream::WatchedDisplay& watched, wl_seat* seat,
                               const InputGate& gate, keys::HeldRecord& record)
    : outputs_(outputs),
      watched_(watched),
      gate_(gate),
      record_(record),
      manager_(connection.bind<zwlr_virtual_pointer_manager_v1>(
          zwlr_virtual_pointer_manager_v1_interface, managerVersion)) {
  if (manager_ != nullptr)
    pointer_.reset(zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager_.get(), seat));
}

VirtualPointer::~VirtualPointer() { releaseAll(); }

/// The device belongs to no output: of one that is turned, some compositors would turn the position
/// once more.
std::optional<Point> VirtualPointer::move(Point point) {
  const auto main = outputs_.main(watched_.current());
  if (!main || pointer_ == nullptr) return std::nullopt;
  const Rect& area = main->area;
  const Point place{inside(point.x, area.origin.x, area.width),
                    inside(point.y, area.origin.y, area.height)};
  const Rect whole = server::desktopArea(outputs_.current());
  zwlr_virtual_pointer_v1_motion_absolute(
      pointer_.get(), eventTime(), parts(place.x - whole.origin.x), parts(place.y - whole.origin.y),
      parts(whole.width), parts(whole.height));
  zwlr_virtual_pointer_v1_frame(pointer_.get());
  return place;
}

void VirtualPointer::press(MouseButton button) {
  // A program sees no second press of a button that is down.
  release(button);
  if (pointer_ == nullptr || !gate_.isOpen()) return;
  held_.insert(button);
  record_.add(codeOf(button));
  tell(codeOf(button), WL_POINTER_BUTTON_STATE_PRESSED);
}

void VirtualPointer::release(MouseButton button) {
  if (held_.erase(button) == 0) return;
  tell(codeOf(button), WL_POINTER_BUTTON_STATE_RELEASED);
  record_.remove(codeOf(button));
}

void VirtualPointer::releaseAll() {
  for (const auto button : std::set(held_)) release(button);
}

void VirtualPointer::releaseLeftBehind(const std::set<Key>& codes) {
  if (pointer_ == nullptr) return;
  for (const auto button : {MouseButton::left, MouseButton::right, MouseButton::center})
    if (codes.contains(codeOf(button))) tell(codeOf(button), WL_POINTER_BUTTON_STATE_RELEASED);
}

void VirtualPointer::tell(Key code, wl_pointer_button_state state) {
  zwlr_virtual_pointer_v1_button(pointer_.get(), eventTime(), code, state);
  zwlr_virtual_pointer_v1_frame(pointer_.get());
}

void VirtualPointer::scroll(int lines) {
  constexpr int linesPerNotch = 3;
  constexpr double distanceOfNotch = 15;  // what a mouse's driver makes of one
  if (lines == 0 || pointer_ == nullptr) return;
  const int direction = lines > 0 ? -1 : 1;
  const int notches = std::max(1, std::abs(lines) / linesPerNotch);
  for (int i = 0; i < notches && gate_.isOpen(); ++i) {
    zwlr_virtual_pointer_v1_axis_source(pointer_.get(), WL_POINTER_AXIS_SOURCE_WHEEL);
    zwlr_virtual_pointer_v1_axis_discrete(
        pointer_.get(), eventTime(), WL_POINTER_AXIS_VERTICAL_SCROLL,
        wl_fixed_from_double(direction * distanceOfNotch), direction);
    zwlr_virtual_pointer_v1_frame(pointer_.get());
  }
}

}  // namespace vesk::wayland::input

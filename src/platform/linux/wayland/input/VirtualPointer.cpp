#include "platform/linux/wayland/input/VirtualPointer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "platform/linux/wayland/input/eventTime.h"

namespace vesk::wayland::input {
namespace {

constexpr std::uint32_t managerVersion = 2;

/// A position is told as so many parts of so many: finer than what programs are told of it.
constexpr double partsPerPoint = 256;

std::uint32_t codeOf(MouseButton button) {
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

/// The far edges belong to the neighbour.
double partsOf(double coordinate, double length) {
  return std::clamp(std::round(coordinate * partsPerPoint), 0.0, length * partsPerPoint - 1);
}

}  // namespace

VirtualPointer::VirtualPointer(server::Connection& connection, const server::OutputList& outputs,
                               wl_seat* seat, const InputGate& gate)
    : outputs_(outputs),
      seat_(seat),
      gate_(gate),
      manager_(connection.bind<zwlr_virtual_pointer_manager_v1>(
          zwlr_virtual_pointer_manager_v1_interface, managerVersion)) {
  if (const auto main = outputs_.main()) follow(main->id);
}

VirtualPointer::~VirtualPointer() { releaseAll(); }

/// A device belongs to its output from its beginning.
void VirtualPointer::follow(DisplayId output) {
  if (manager_ == nullptr || (pointer_ != nullptr && output == output_)) return;
  releaseAll();
  output_ = output;
  pointer_.reset(zwlr_virtual_pointer_manager_v1_create_virtual_pointer_with_output(
      manager_.get(), seat_, outputs_.proxy(output)));
}

std::optional<Point> VirtualPointer::move(Point point) {
  const auto main = outputs_.main();
  if (!main) return std::nullopt;
  follow(main->id);
  if (pointer_ == nullptr) return std::nullopt;
  const Rect& area = main->area;
  const double x = partsOf(point.x - area.origin.x, area.width);
  const double y = partsOf(point.y - area.origin.y, area.height);
  zwlr_virtual_pointer_v1_motion_absolute(
      pointer_.get(), eventTime(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
      static_cast<std::uint32_t>(area.width * partsPerPoint),
      static_cast<std::uint32_t>(area.height * partsPerPoint));
  zwlr_virtual_pointer_v1_frame(pointer_.get());
  return Point{area.origin.x + x / partsPerPoint, area.origin.y + y / partsPerPoint};
}

void VirtualPointer::press(MouseButton button) {
  // A program sees no second press of a button that is down.
  release(button);
  if (pointer_ == nullptr || !gate_.isOpen()) return;
  held_.insert(button);
  tell(button, WL_POINTER_BUTTON_STATE_PRESSED);
}

void VirtualPointer::release(MouseButton button) {
  if (held_.erase(button) != 0) tell(button, WL_POINTER_BUTTON_STATE_RELEASED);
}

void VirtualPointer::releaseAll() {
  for (const auto button : std::exchange(held_, {})) tell(button, WL_POINTER_BUTTON_STATE_RELEASED);
}

void VirtualPointer::tell(MouseButton button, wl_pointer_button_state state) {
  zwlr_virtual_pointer_v1_button(pointer_.get(), eventTime(), codeOf(button), state);
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

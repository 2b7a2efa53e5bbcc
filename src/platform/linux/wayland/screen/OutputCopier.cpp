#include "platform/linux/wayland/screen/OutputCopier.h"

#include <algorithm>
#include <utility>

#include "platform/linux/wayland/screen/UprightPixels.h"

namespace vesk::wayland::screen {
namespace {

/// The first that tells what has changed and when it has told of all layouts.
constexpr std::uint32_t managerVersion = 3;

/// A coordinate from the compositor, within what the rest can be reckoned with.
std::int32_t bounded(std::uint32_t value) {
  return static_cast<std::int32_t>(std::min<std::uint32_t>(value, 1U << 20U));
}

}  // namespace

OutputCopier::OutputCopier(const server::Connection& connection, wl_output* output,
                           bool showsCursor)
    : output_(output), showsCursor_(showsCursor) {
  if (!connection.offers(zwlr_screencopy_manager_v1_interface.name, managerVersion)) return;
  shm_.reset(connection.bind<wl_shm>(wl_shm_interface, 1));
  for (auto* const manager : {&forChanges_, &forAtOnce_}) {
    manager->reset(connection.bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface,
                                                               managerVersion));
  }
}

OutputCopier::~OutputCopier() = default;

OutputCopier::operator bool() const { return shm_ != nullptr && forAtOnce_ != nullptr; }

void OutputCopier::ask(When when) {
  drop();
  when_ = when;
  state_ = State::announcing;
  auto* const manager = (when == When::changed ? forChanges_ : forAtOnce_).get();
  frame_.reset(zwlr_screencopy_manager_v1_capture_output(manager, showsCursor_ ? 1 : 0, output_));
  listen();
}

void OutputCopier::drop() {
  frame_.reset();
  state_ = State::none;
  layout_ = {};
  isUpsideDown_ = false;
  changed_.clear();
}

void OutputCopier::listen() {
  using Frame = zwlr_screencopy_frame_v1;
  static constexpr zwlr_screencopy_frame_v1_listener listener{
      [](void* self, Frame*, std::uint32_t format, std::uint32_t width, std::uint32_t height,
         std::uint32_t stride) {
        static_cast<OutputCopier*>(self)->announce(
            {format, bounded(width), bounded(height), bounded(stride)});
      },
      [](void* self, Frame*, std::uint32_t flags) {
        static_cast<OutputCopier*>(self)->isUpsideDown_ =
            (flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0;
      },
      [](void* self, Frame*, std::uint32_t, std::uint32_t, std::uint32_t) {
        static_cast<OutputCopier*>(self)->state_ = State::ready;
      },
      [](void* self, Frame*) { static_cast<OutputCopier*>(self)->fail(Failure::refused); },
      [](void* self, Frame*, std::uint32_t x, std::uint32_t y, std::uint32_t width,
         std::uint32_t height) {
        static_cast<OutputCopier*>(self)->changed_.push_back(
            {bounded(x), bounded(y), bounded(width), bounded(height)});
      },
      [](void*, Frame*, std::uint32_t, std::uint32_t, std::uint32_t) {},
      [](void* self, Frame*) { static_cast<OutputCopier*>(self)->copy(); }};
  zwlr_screencopy_frame_v1_add_listener(frame_.get(), &listener, this);
}

/// Of several, the first that can be read.
void OutputCopier::announce(const BufferLayout& layout) {
  if (layout_.width == 0 && UprightPixels::canRead(layout.format)) layout_ = layout;
}

/// The compositor has told of all layouts.
void OutputCopier::copy() {
  if (layout_.width == 0) return fail(Failure::strangeColours);
  if (buffer_ == nullptr || buffer_->layout() != layout_)
    buffer_ = std::make_unique<SharedBuffer>(shm_.get(), layout_);
  if (!*buffer_) {
    buffer_.reset();
    return fail(Failure::noMemory);
  }
  state_ = State::copying;
  if (when_ == When::changed) {
    zwlr_screencopy_frame_v1_copy_with_damage(frame_.get(), buffer_->get());
  } else {
    zwlr_screencopy_frame_v1_copy(frame_.get(), buffer_->get());
  }
}

void OutputCopier::fail(Failure failure) {
  failure_ = failure;
  state_ = State::failed;
}

}  // namespace vesk::wayland::screen

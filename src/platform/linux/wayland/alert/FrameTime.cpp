#include "platform/linux/wayland/alert/FrameTime.h"

namespace vesk::wayland::alert {

void FrameTime::ask() {
  if (!surface_.isReady()) return;
  question_.reset(wl_surface_frame(surface_.get()));
  static constexpr wl_callback_listener listener{[](void* self, wl_callback*, std::uint32_t time) {
    static_cast<FrameTime*>(self)->answer(time);
  }};
  wl_callback_add_listener(question_.get(), &listener, this);
  wl_surface_commit(surface_.get());
}

void FrameTime::answer(std::uint32_t time) {
  question_.reset();
  last_ = timeOf(time);
  if (onAnswer) onAnswer(last_);
}

FrameTime::Time FrameTime::timeOf(std::uint32_t time) const {
  const auto last = static_cast<std::uint32_t>(last_.count());
  return last_ + Time(static_cast<std::int32_t>(time - last));
}

}  // namespace vesk::wayland::alert

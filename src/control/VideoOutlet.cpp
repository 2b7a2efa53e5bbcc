#include "control/VideoOutlet.h"

#include <utility>

#include "capture/isKeyFrame.h"

namespace vesk {

VideoOutlet::VideoOutlet(AgentLink& link, std::function<void()> requestKeyframe)
    : link_(link), requestKeyframe_(std::move(requestKeyframe)) {}

void VideoOutlet::send(ByteView accessUnit, Ticks duration) {
  auto to = AgentLink::Connection::none;
  {
    const std::lock_guard lock(mutex_);
    if (to_ == AgentLink::Connection::none) return hold(accessUnit, duration);
    if (awaitsKeyframe_ && !isKeyFrame(accessUnit)) return;
    awaitsKeyframe_ = false;
    to = to_;
  }
  // Without the lock: it may wait for the agent, and the main thread must not.
  link_.sendVideo(accessUnit, duration, to);
}

/// A key frame makes what came before it worthless.
void VideoOutlet::hold(ByteView accessUnit, Ticks duration) {
  if (isKeyFrame(accessUnit)) {
    forgetHeld();
    lost_ = false;
  }
  heldBytes_ += accessUnit.size();
  if (lost_ || held_.size() == mostHeld || heldBytes_ > mostHeldBytes) {
    forgetHeld();
    lost_ = true;
    return;
  }
  held_.push_back({Bytes(accessUnit.begin(), accessUnit.end()), duration});
}

void VideoOutlet::open(AgentLink::Connection to) {
  const std::lock_guard lock(mutex_);
  const bool wasOpen = std::exchange(to_, to) != AgentLink::Connection::none;
  if (wasOpen) return;
  awaitsKeyframe_ = true;
  if (!sendHeld()) requestKeyframe_();
  link_.setPatience(AgentLink::Patience::waits);
}

/// Whether nothing is missing.
bool VideoOutlet::sendHeld() {
  stopWaiting();
  bool whole = !std::exchange(lost_, false);
  for (const auto& [accessUnit, duration] : std::exchange(held_, {})) {
    if (!whole || (awaitsKeyframe_ && !isKeyFrame(accessUnit))) continue;
    whole = link_.sendVideo(accessUnit, duration, to_);
    awaitsKeyframe_ = !whole;
  }
  heldBytes_ = 0;
  return whole;
}

void VideoOutlet::shut() {
  const std::lock_guard lock(mutex_);
  to_ = AgentLink::Connection::none;
  forgetHeld();
  lost_ = false;
}

void VideoOutlet::forgetHeld() {
  held_.clear();
  heldBytes_ = 0;
}

}  // namespace vesk

#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::session {
namespace {

/// Enough for a desktop that goes on at all, and short for one that an end waits behind.
constexpr std::chrono::milliseconds roomPatience{200};

bool isHoldable(const Stroke& stroke) {
  return stroke.kind == Stroke::Kind::button || stroke.kind == Stroke::Kind::key ||
         stroke.kind == Stroke::Kind::symbol;
}

}  // namespace

bool StrokeQueue::isOpen() const {
  const std::lock_guard lock(mutex_);
  return wake_ != nullptr;
}

std::optional<Rect> StrokeQueue::area() const {
  const std::lock_guard lock(mutex_);
  return area_;
}

std::uint64_t StrokeQueue::age() const {
  const std::lock_guard lock(mutex_);
  return age_;
}

void StrokeQueue::push(const Stroke& stroke) {
  std::unique_lock lock(mutex_);
  const auto hasRoom = [this] { return waiting_.size() < capacity; };
  if (!hasRoom()) changed_.wait_for(lock, roomPatience, hasRoom);
  if (wake_ == nullptr) return;
  if (!hasRoom()) {
    ++age_;
    waiting_.clear();
    releaseHeld();
  }
  // Of places that wait, only the last one matters.
  const bool isNewerPlace = stroke.kind == Stroke::Kind::motion && !waiting_.empty() &&
                            waiting_.back().kind == Stroke::Kind::motion;
  if (isNewerPlace) {
    waiting_.back() = stroke;
  } else {
    waiting_.push_back(stroke);
  }
  wakeWhereNeeded();
}

void StrokeQueue::letGo() {
  const std::lock_guard lock(mutex_);
  waiting_.clear();
  releaseHeld();
  wakeWhereNeeded();
}

/// Buttons first: what is dragged is dropped with the modifiers that it is dragged with.
void StrokeQueue::releaseHeld() {
  for (const auto& [kind, code] : held_)
    waiting_.push_back({.kind = kind, .code = code, .isDown = false});
}

void StrokeQueue::wakeWhereNeeded() {
  if (wake_ != nullptr && !isOnItsWay_ && !waiting_.empty()) wake_();
}

bool StrokeQueue::settle(std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, patience, [this] { return waiting_.empty() && !isOnItsWay_; });
}

std::uint64_t StrokeQueue::open(std::optional<Rect> area, std::function<void()> wake) {
  const std::lock_guard lock(mutex_);
  clear();
  area_ = area;
  wake_ = std::move(wake);
  return ++session_;
}

void StrokeQueue::close(std::uint64_t session) {
  const std::lock_guard lock(mutex_);
  if (session == session_) clear();
}

void StrokeQueue::clear() {
  ++age_;
  wake_ = nullptr;
  waiting_.clear();
  held_.clear();
  isOnItsWay_ = false;
  changed_.notify_all();
}

std::optional<Stroke> StrokeQueue::take(std::uint64_t session) {
  const std::lock_guard lock(mutex_);
  if (session != session_ || isOnItsWay_) return std::nullopt;
  while (!waiting_.empty()) {
    const Stroke stroke = waiting_.front();
    waiting_.pop_front();
    changed_.notify_all();
    if (!mayGo(stroke)) continue;
    isOnItsWay_ = true;
    return stroke;
  }
  return std::nullopt;
}

bool StrokeQueue::mayGo(const Stroke& stroke) {
  if (!isHoldable(stroke)) return gate_.isOpen();
  const Held held{stroke.kind, stroke.code};
  if (!stroke.isDown) return held_.erase(held) > 0;
  return gate_.isOpen() && held_.insert(held).second;
}

void StrokeQueue::answered(std::uint64_t session) {
  const std::lock_guard lock(mutex_);
  if (session != session_) return;
  isOnItsWay_ = false;
  if (waiting_.empty()) changed_.notify_all();
}

}  // namespace vesk::portal::session

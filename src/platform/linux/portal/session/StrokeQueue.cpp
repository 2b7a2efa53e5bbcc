#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::session {
namespace {

using Key = keys::HeldRecord::Key;

/// Enough for a desktop that goes on at all, and short for one that an end waits behind.
constexpr std::chrono::milliseconds roomPatience{200};

bool isHoldable(const Stroke& stroke) {
  return stroke.kind == Stroke::Kind::button || stroke.kind == Stroke::Kind::key ||
         stroke.kind == Stroke::Kind::symbol;
}

bool isOfPointer(const Stroke& stroke) {
  return stroke.kind == Stroke::Kind::motion || stroke.kind == Stroke::Kind::step;
}

/// Keys and buttons share the kernel's numbers; symbols are told from them by a bit that no number
/// has.
constexpr Key symbolMark = Key{1} << 31;
constexpr Key firstButton = 0x100;
constexpr Key lastButton = 0x15f;

Key recorded(Stroke::Kind kind, std::int32_t code) {
  const auto number = static_cast<Key>(code);
  return kind == Stroke::Kind::symbol ? number | symbolMark : number;
}

Stroke releaseOf(Key recorded) {
  Stroke stroke{.kind = Stroke::Kind::key,
                .code = static_cast<std::int32_t>(recorded & ~symbolMark),
                .isDown = false};
  if ((recorded & symbolMark) != 0) {
    stroke.kind = Stroke::Kind::symbol;
  } else if (recorded >= firstButton && recorded <= lastButton) {
    stroke.kind = Stroke::Kind::button;
  }
  return stroke;
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
  if (stroke.kind == Stroke::Kind::motion) {
    while (!waiting_.empty() && isOfPointer(waiting_.back())) waiting_.pop_back();
  }
  waiting_.push_back(stroke);
  wakeWhereNeeded();
}

void StrokeQueue::letGo() {
  const std::lock_guard lock(mutex_);
  waiting_.clear();
  releaseHeld();
  wakeWhereNeeded();
}

void StrokeQueue::releaseHeld() {
  for (const auto& release : releases()) waiting_.push_back(release);
}

/// Buttons first: what is dragged is dropped with the modifiers that it is dragged with.
std::vector<Stroke> StrokeQueue::releases() const {
  std::vector<Stroke> all;
  for (const auto& [kind, code] : held_)
    all.push_back({.kind = kind, .code = code, .isDown = false});
  return all;
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
  ++session_;
  takeOver();
  return session_;
}

/// What was left down goes up before anything else.
void StrokeQueue::takeOver() {
  const auto left = record_.isLeftBehind() ? record_.read() : record_.held();
  for (const auto code : left) {
    const auto release = releaseOf(code);
    held_.emplace(release.kind, release.code);
    record_.add(code);
  }
  releaseHeld();
  wakeWhereNeeded();
}

std::vector<Stroke> StrokeQueue::close(std::uint64_t session) {
  const std::lock_guard lock(mutex_);
  if (session != session_) return {};
  auto down = releases();
  clear();
  return down;
}

void StrokeQueue::wasLetGo(const Stroke& stroke) {
  const std::lock_guard lock(mutex_);
  record_.remove(recorded(stroke.kind, stroke.code));
  record_.update();
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
  const Key code = recorded(stroke.kind, stroke.code);
  if (!stroke.isDown) {
    record_.remove(code);
    return held_.erase(held) > 0;
  }
  if (!gate_.isOpen() || !held_.insert(held).second) return false;
  record_.add(code);
  return true;
}

void StrokeQueue::answered(std::uint64_t session) {
  const std::lock_guard lock(mutex_);
  if (session != session_) return;
  isOnItsWay_ = false;
  record_.update();
  if (waiting_.empty()) changed_.notify_all();
}

}  // namespace vesk::portal::session

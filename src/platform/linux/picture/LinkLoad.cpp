#include "platform/linux/picture/LinkLoad.h"

#include <algorithm>

namespace vesk::picture {
namespace {

/// A window may hold this many times what the link takes in it: a key frame more than a steady
/// stream, which is caught up with afterwards.
constexpr double windowFill = 1.02;

/// What may still wait for the link when a key frame comes.
constexpr double restSeconds = 0.1;

}  // namespace

void LinkLoad::pass(std::chrono::nanoseconds elapsed, double bitsPerSecond) {
  const double seconds = std::max(std::chrono::duration<double>(elapsed).count(), 0.0);
  rate_ = bitsPerSecond;
  now_ += seconds;
  waiting_ = std::max(waiting_ - rate_ * seconds, 0.0);
  // A picture's time after the first of a window comes the first of the next one.
  constexpr double rounding = 1e-3;
  while (!window_.empty() && window_.front().at < now_ - windowSeconds + rounding) {
    window_.pop_front();
  }
}

void LinkLoad::add(double bits) {
  waiting_ += bits;
  window_.push_back({now_, bits});
}

double LinkLoad::sentSince(double time) const {
  double sum = 0;
  for (const auto& sent : window_) sum += sent.at >= time ? sent.bits : 0;
  return sum;
}

double LinkLoad::windowRoom(double fill, double ahead) const {
  return rate_ * windowSeconds * fill - sentSince(now_ + ahead - windowSeconds);
}

double LinkLoad::room(double seconds) const {
  return std::min(rate_ * seconds - waiting_, windowRoom(windowFill));
}

double LinkLoad::roomUntil(double ahead, double kept) const {
  const double link = rate_ * (ahead + restSeconds) - waiting_;
  if (ahead >= windowSeconds) return link;
  const double window = rate_ * windowSeconds * windowFill;
  return std::min(link, window - kept - sentSince(now_ + ahead - windowSeconds));
}

}  // namespace vesk::picture

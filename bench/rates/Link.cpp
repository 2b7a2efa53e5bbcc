#include "rates/Link.h"

#include <algorithm>

namespace vesk::rates {

void Link::send(std::size_t bytes) {
  if (!bits_.empty()) waiting_ = std::max(waiting_ - bitsPerSecond_ / pace_, 0.0);
  bits_.push_back(static_cast<double>(bytes) * 8);
  waiting_ += bits_.back();
  delays_.push_back(waiting_ / bitsPerSecond_);
}

double Link::worstDelay() const { return *std::max_element(delays_.begin(), delays_.end()); }

double Link::delayOf95Percent() const {
  auto sorted = delays_;
  const auto at = static_cast<std::ptrdiff_t>(sorted.size() * 95 / 100);
  std::nth_element(sorted.begin(), sorted.begin() + at, sorted.end());
  return sorted[static_cast<std::size_t>(at)];
}

double Link::mostOverThreeSeconds() const {
  const auto pictures = static_cast<std::size_t>(3 * pace_);
  double sum = 0;
  double most = 0;
  for (std::size_t i = 0; i < bits_.size(); ++i) {
    sum += bits_[i];
    if (i >= pictures) sum -= bits_[i - pictures];
    most = std::max(most, sum);
  }
  return most / (3 * bitsPerSecond_);
}

}  // namespace vesk::rates

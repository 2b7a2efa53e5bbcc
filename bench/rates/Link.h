#pragma once

#include <cstddef>
#include <vector>

namespace vesk::rates {

/// A link of exactly the rate that was asked for, which takes one picture after the other, bit by
/// bit. Thread: one at a time.
class Link {
 public:
  Link(double bitsPerSecond, double pace) : bitsPerSecond_(bitsPerSecond), pace_(pace) {}

  /// The next picture, a picture's time after the one before.
  void send(std::size_t bytes);

  /// Seconds from each picture's time until its last bit has left.
  const std::vector<double>& delays() const { return delays_; }
  double worstDelay() const;
  double delayOf95Percent() const;

  /// The most bits of any three seconds, of those that three seconds hold.
  double mostOverThreeSeconds() const;

 private:
  double bitsPerSecond_;
  double pace_;
  double waiting_ = 0;
  std::vector<double> bits_;
  std::vector<double> delays_;
};

}  // namespace vesk::rates

#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

/// Keeps a line that somebody far away can cause again and again from filling the disk. Lines that
/// differ in numbers alone are of one kind.
///
/// Thread: one at a time. Owns: a bounded number of kinds. Fails: never.
class LogLimit {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::size_t mostOfAKind = 100;
  static constexpr std::chrono::minutes period{1};

  /// What to write at `now`, when `line` is to be logged: how many were left out of each kind, once
  /// a period has passed since the first of them, then the line itself, where it may be written.
  std::vector<std::string> admit(std::string_view line, Time now);

 private:
  struct Kind {
    std::deque<Time> written;  ///< within the period
    std::size_t leftOut = 0;
    Time leftOutSince;
  };

  Kind& kindOf(std::string_view line);

  std::map<std::string, Kind, std::less<>> kinds_;
};

}  // namespace vesk

#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace vesk::testing {

/// The messages (without time stamps) that the process's log got since this object was made. The
/// test program's own main gives the process a home folder of its own.
class LogLines {
 public:
  LogLines();

  std::vector<std::string> messages() const;

  /// Waits until there are at least `count` messages, or far longer than any test needs.
  std::vector<std::string> waitFor(std::size_t count) const;

 private:
  std::size_t start_;
};

}  // namespace vesk::testing

#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace vesk::agent {

/// The "op"s of the messages that have come and that no wait has passed yet. A wait takes the first
/// one that fits and everything before it. So an answer counts that came before its wait was read:
/// how fast the program is and how the commands arrive changes nothing.
class Mailbox {
 public:
  /// Keeps the newest ones; nobody waits for one that ten thousand others have followed.
  static constexpr std::size_t limit = 10'000;

  void add(std::string op);

  enum class Found { yes, no };
  Found take(std::string_view op);

  void clear() { ops_.clear(); }

 private:
  std::deque<std::string> ops_;
};

}  // namespace vesk::agent

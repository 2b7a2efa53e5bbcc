#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace vesk::agent {

/// Cuts text that arrives in pieces into lines, without their line feeds.
class LineSplitter {
 public:
  void append(std::string_view piece);

  /// Makes a line of what stands behind the last line feed.
  void end();

  std::optional<std::string> next();

 private:
  std::string unfinished_;
  std::deque<std::string> lines_;
};

}  // namespace vesk::agent

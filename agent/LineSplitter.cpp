#include "agent/LineSplitter.h"

#include <utility>

namespace vesk::agent {

void LineSplitter::append(std::string_view piece) {
  for (auto end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
    unfinished_ += piece.substr(0, end);
    lines_.push_back(std::exchange(unfinished_, {}));
    piece.remove_prefix(end + 1);
  }
  unfinished_ += piece;
}

void LineSplitter::end() {
  if (!unfinished_.empty()) lines_.push_back(std::exchange(unfinished_, {}));
}

std::optional<std::string> LineSplitter::next() {
  if (lines_.empty()) return std::nullopt;
  std::string line = std::move(lines_.front());
  lines_.pop_front();
  return line;
}

}  // namespace vesk::agent

#include "link/LogLimit.h"

#include <utility>

namespace vesk {
namespace {

constexpr std::size_t mostKinds = 64;
constexpr std::size_t longestKind = 80;
constexpr std::string_view anyNumber = "…";

bool isPartOfANumber(char character) {
  return (character >= '0' && character <= '9') || character == '-';
}

/// The line with a mark in the place of each number.
std::string kind(std::string_view line) {
  std::string result;
  bool inNumber = false;
  for (const char character : line.substr(0, longestKind)) {
    const bool number = isPartOfANumber(character);
    if (!number) result += character;
    if (number && !inNumber) result += anyNumber;
    inNumber = number;
  }
  return result;
}

}  // namespace

LogLimit::Kind& LogLimit::kindOf(std::string_view line) {
  std::string key = kind(line);
  const auto found = kinds_.find(key);
  if (found != kinds_.end()) return found->second;
  // No end of kinds is none of the program's own: they share what is left.
  if (kinds_.size() >= mostKinds) key = "…";
  return kinds_[std::move(key)];
}

std::vector<std::string> LogLimit::admit(std::string_view line, Time now) {
  std::vector<std::string> lines;
  Kind& own = kindOf(line);
  for (auto& [name, kind] : kinds_) {
    auto& written = kind.written;
    while (!written.empty() && now - written.front() >= period) written.pop_front();
    if (kind.leftOut == 0 || now - kind.leftOutSince < period) continue;
    lines.push_back("Left out " + std::to_string(std::exchange(kind.leftOut, 0)) +
                    " more lines like: " + name);
  }
  if (own.written.size() == mostOfAKind) {
    if (own.leftOut++ == 0) own.leftOutSince = now;
  } else {
    own.written.push_back(now);
    lines.emplace_back(line);
  }
  return lines;
}

}  // namespace vesk

#include "agent/CommandWords.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <system_error>

namespace vesk::agent::words {
namespace {

constexpr std::string_view blanks = " \t\r";

std::optional<unsigned> digit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return std::nullopt;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view takeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  const auto end = std::min(text.find_first_of(blanks), text.size());
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

std::optional<std::int64_t> integer(std::string_view word) {
  const bool isHexadecimal = word.starts_with("0x") || word.starts_with("0X");
  if (isHexadecimal) word.remove_prefix(2);
  if (isHexadecimal && word.starts_with('-')) return std::nullopt;
  std::int64_t value = 0;
  const char* const end = word.data() + word.size();
  const auto result = std::from_chars(word.data(), end, value, isHexadecimal ? 16 : 10);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return value;
}

/// JSON's own numbers: what is sent is then what was written, whatever the locale.
std::optional<double> number(std::string_view word) {
  const auto value = nlohmann::json::parse(word, nullptr, /*allow_exceptions=*/false);
  if (!value.is_number()) return std::nullopt;
  const auto result = value.get<double>();
  if (!std::isfinite(result)) return std::nullopt;
  return result;
}

std::optional<std::chrono::milliseconds> seconds(std::string_view word) {
  const auto value = number(word);
  if (!value || *value < 0 || *value > 86400) return std::nullopt;
  return std::chrono::milliseconds(std::llround(*value * 1000));
}

std::optional<Bytes> hexadecimal(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (blanks.find(text[i]) != std::string_view::npos) {
      ++i;
      continue;
    }
    const auto high = digit(text[i]);
    const auto low = i + 1 < text.size() ? digit(text[i + 1]) : std::nullopt;
    if (!high || !low) return std::nullopt;
    bytes.push_back(static_cast<std::byte>(*high << 4 | *low));
    i += 2;
  }
  return bytes;
}

}  // namespace vesk::agent::words

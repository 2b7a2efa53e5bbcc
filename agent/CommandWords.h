#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "link/Frame.h"

/// Reading of the words of a command line. Pure: text in, value out; no value for anything else
/// than what is asked for.
namespace vesk::agent::words {

/// `text` without the blanks before it and behind it.
std::string_view trimmed(std::string_view text);

/// Takes the first word off `text` together with the one blank that ends it; empty at the end.
std::string_view takeWord(std::string_view& text);

/// A whole number, in decimal or as 0x and hexadecimal digits.
std::optional<std::int64_t> integer(std::string_view word);

/// A finite number in decimal.
std::optional<double> number(std::string_view word);

/// A number of seconds from 0 to one day.
std::optional<std::chrono::milliseconds> seconds(std::string_view word);

/// Pairs of hexadecimal digits, with blanks between the pairs or without. No bytes are fine.
std::optional<Bytes> hexadecimal(std::string_view text);

}  // namespace vesk::agent::words

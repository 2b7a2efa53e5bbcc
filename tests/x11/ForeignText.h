#pragma once

#include <string>

namespace vesk::testing {

/// Characters that no usual layout has, each another one.
inline std::string foreignText(int characters, int first = 0) {
  constexpr char32_t firstIdeograph = 0x4E00;
  constexpr unsigned low = 0x3F;
  std::string utf8;
  for (int i = 0; i < characters; ++i) {
    const char32_t character = firstIdeograph + static_cast<char32_t>(first + i);
    utf8 += static_cast<char>(0xE0 | character >> 12);
    utf8 += static_cast<char>(0x80 | (character >> 6 & low));
    utf8 += static_cast<char>(0x80 | (character & low));
  }
  return utf8;
}

}  // namespace vesk::testing

#include "platform/linux/keys/Utf16Joiner.h"

#include <utility>

namespace vesk::keys {

std::u32string Utf16Joiner::join(std::u16string_view run) {
  std::u32string characters;
  for (const char16_t unit : run) {
    const char16_t high = std::exchange(high_, u'\0');
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      high_ = unit;
    } else if (unit < 0xDC00 || unit > 0xDFFF) {
      characters += static_cast<char32_t>(unit);
    } else if (high != 0) {
      characters += static_cast<char32_t>(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
    }
  }
  return characters;
}

}  // namespace vesk::keys

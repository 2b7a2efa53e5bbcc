#include "platform/linux/keys/typeableCharacter.h"

namespace vesk::keys {

std::optional<char32_t> typeableCharacter(char32_t character) {
  constexpr char32_t escape = 0x1B;
  constexpr char32_t lastControl = 0x1F;
  constexpr char32_t remove = 0x7F;
  constexpr char32_t lastHighControl = 0x9F;
  if (character == U'\n') return U'\r';
  const bool isKey = character == U'\r' || character == U'\t' || character == U'\b' ||
                     character == escape || character == remove;
  const bool isControl =
      character <= lastControl || (character >= remove && character <= lastHighControl);
  return isControl && !isKey ? std::nullopt : std::optional(character);
}

}  // namespace vesk::keys

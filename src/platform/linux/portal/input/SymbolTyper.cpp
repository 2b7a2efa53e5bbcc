#include "platform/linux/portal/input/SymbolTyper.h"

#include "platform/linux/keys/typeableCharacter.h"

namespace vesk::portal::input {

using session::Stroke;

void SymbolTyper::type(std::u16string_view run, const LayoutSymbols& layout) {
  for (const char32_t character : joiner_.join(run))
    if (const auto typed = keys::typeableCharacter(character)) strike(*typed, layout);
}

void SymbolTyper::strike(char32_t character, const LayoutSymbols& layout) {
  const auto found = layout.find(character);
  if (!found) ++lacking_;
  if (layout.isOutOfReach(character)) return;
  // A compositor may know more ways than the layout's keys.
  const auto symbol = found.value_or(xkb_utf32_to_keysym(character));
  if (symbol == XKB_KEY_NoSymbol) return;
  const auto code = static_cast<std::int32_t>(symbol);
  strokes_.push({.kind = Stroke::Kind::symbol, .code = code, .isDown = true});
  strokes_.push({.kind = Stroke::Kind::symbol, .code = code, .isDown = false});
}

}  // namespace vesk::portal::input

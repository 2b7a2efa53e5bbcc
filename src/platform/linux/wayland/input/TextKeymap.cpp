#include "platform/linux/wayland/input/TextKeymap.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>
#include <sstream>

namespace vesk::wayland::input {
namespace {

struct Fixed {
  char32_t character;
  Key key;
};

/// Programs know these by their keys as much as by their symbols.
constexpr std::array fixed{Fixed{U'\r', KEY_ENTER},     Fixed{U'\t', KEY_TAB},
                           Fixed{U'\b', KEY_BACKSPACE}, Fixed{U'\x1B', KEY_ESC},
                           Fixed{U'\x7F', KEY_DELETE},  Fixed{U' ', KEY_SPACE}};

struct Range {
  Key first;
  Key last;
};

/// Those that type characters on some keyboard or other first.
constexpr std::array ranges{Range{KEY_1, KEY_EQUAL},
                            Range{KEY_Q, KEY_RIGHTBRACE},
                            Range{KEY_A, KEY_GRAVE},
                            Range{KEY_BACKSLASH, KEY_SLASH},
                            Range{KEY_102ND, KEY_102ND},
                            Range{KEY_RO, KEY_RO},
                            Range{KEY_YEN, KEY_YEN},
                            Range{KEY_F13, KEY_F24},
                            Range{KEY_KPASTERISK, KEY_KPASTERISK},
                            Range{KEY_KP7, KEY_KPDOT},
                            Range{KEY_KPSLASH, KEY_KPSLASH},
                            Range{KEY_KPEQUAL, KEY_KPEQUAL},
                            Range{KEY_KPCOMMA, KEY_KPCOMMA},
                            Range{KEY_F1, KEY_F10},
                            Range{KEY_F11, KEY_F12}};

const Fixed* fixedOf(char32_t character) {
  const auto* const found = std::ranges::find(fixed, character, &Fixed::character);
  return found == fixed.end() ? nullptr : found;
}

std::string symbolName(char32_t character) {
  std::array<char, 64> name{};
  const auto symbol = xkb_utf32_to_keysym(character);
  return xkb_keysym_get_name(symbol, name.data(), name.size()) > 0 ? name.data() : "NoSymbol";
}

}  // namespace

TextKeymap::TextKeymap() {
  for (const auto& range : ranges)
    for (Key key = range.first; key <= range.last; ++key) slots_.push_back({.key = key});
}

std::size_t TextKeymap::capacity() {
  static const std::size_t count = TextKeymap().slots_.size();
  return count;
}

bool TextKeymap::assign(std::u32string_view characters) {
  // Those that have a key already must not lose it to the others.
  ++uses_;
  for (auto& slot : slots_)
    if (characters.find(slot.character) != std::u32string_view::npos) slot.used = uses_;
  bool isChanged = false;
  for (const char32_t character : characters) isChanged |= assign(character);
  return isChanged;
}

bool TextKeymap::assign(char32_t character) {
  const bool isTypeable = xkb_utf32_to_keysym(character) != XKB_KEY_NoSymbol;
  if (!isTypeable || find(character)) return false;
  const auto oldest = std::ranges::min_element(slots_, {}, &Slot::used);
  oldest->character = character;
  oldest->used = uses_;
  return true;
}

std::optional<Key> TextKeymap::find(char32_t character) const {
  if (const auto* const always = fixedOf(character)) return always->key;
  const auto found = std::ranges::find(slots_, character, &Slot::character);
  if (character == 0 || found == slots_.end()) return std::nullopt;
  return found->key;
}

std::string TextKeymap::text() const {
  std::ostringstream codes;
  std::ostringstream symbols;
  const auto add = [&](Key key, char32_t character) {
    codes << "<K" << key << "> = " << key + keys::keycodeOffset << ";\n";
    symbols << "key <K" << key << "> { [ " << symbolName(character) << " ] };\n";
  };
  for (const auto& [character, key] : fixed) add(key, character);
  for (const auto& slot : slots_)
    if (slot.character != 0) add(slot.key, slot.character);
  return "xkb_keymap {\nxkb_keycodes \"text\" {\nminimum = 8;\nmaximum = 255;\n" + codes.str() +
         "};\nxkb_types \"text\" { include \"complete\" };\n"
         "xkb_compatibility \"text\" { include \"complete\" };\nxkb_symbols \"text\" {\n" +
         symbols.str() + "};\n};\n";
}

}  // namespace vesk::wayland::input

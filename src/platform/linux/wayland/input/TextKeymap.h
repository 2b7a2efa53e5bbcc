#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/input/Key.h"

namespace vesk::wayland::input {

/// Which key types which character, on a keyboard that is made for text: each character has a key
/// of its own, which types it without any modifier.
///
/// What has a key keeps it for as long as others are there to be taken: a program may look a key up
/// in the keymap of a later moment than that of the stroke. Then the one used longest ago goes
/// first. Every key is one that browsers know, for they take no others; Return and its like are
/// where every keyboard has them.
///
/// Thread: one at a time. Fails: a character that no key can type has none.
class TextKeymap {
 public:
  TextKeymap();

  /// As many different characters have a key at the same time.
  static std::size_t capacity();

  /// Gives each of these a key, no more different ones than the capacity. Whether that has changed
  /// the keymap.
  bool assign(std::u32string_view characters);

  /// The key of a character that was given one.
  std::optional<Key> find(char32_t character) const;

  /// As XKB reads it.
  std::string text() const;

 private:
  struct Slot {
    Key key = 0;
    char32_t character = 0;  ///< 0: none yet
    std::uint64_t used = 0;
  };

  bool assign(char32_t character);

  std::vector<Slot> slots_;
  std::uint64_t uses_ = 0;
};

}  // namespace vesk::wayland::input

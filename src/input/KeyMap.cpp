#include "input/KeyMap.h"

#include <algorithm>

namespace vesk::KeyMap {
namespace {

constexpr std::int64_t enter = 0x0D;
constexpr KeyCode keypadEnter = 0x4C;
constexpr KeyCode firstModifier = 0x36;

/// From right Command to right Control, in the order of the key codes.
constexpr std::array<EventFlags, 9> modifierFlags{
    eventFlag::command,    eventFlag::command,   eventFlag::shift,
    eventFlag::alphaShift, eventFlag::alternate, eventFlag::control,
    eventFlag::shift,      eventFlag::alternate, eventFlag::control};

static_assert(std::ranges::is_sorted(named, {}, &NamedKey::windowsVirtualKey));

}  // namespace

std::optional<KeyCode> macKey(std::int64_t windowsVirtualKey, bool extended) {
  if (windowsVirtualKey == enter && extended) return keypadEnter;
  if (windowsVirtualKey >= 'A' && windowsVirtualKey <= 'Z')
    return letters[static_cast<std::size_t>(windowsVirtualKey - 'A')];
  if (windowsVirtualKey >= '0' && windowsVirtualKey <= '9')
    return digits[static_cast<std::size_t>(windowsVirtualKey - '0')];
  const auto* const found =
      std::ranges::lower_bound(named, windowsVirtualKey, {}, &NamedKey::windowsVirtualKey);
  if (found == named.end() || found->windowsVirtualKey != windowsVirtualKey) return std::nullopt;
  return found->macKey;
}

std::optional<EventFlags> modifierFlag(KeyCode key) {
  if (key < firstModifier || key >= firstModifier + modifierFlags.size()) return std::nullopt;
  return modifierFlags[static_cast<std::size_t>(key - firstModifier)];
}

}  // namespace vesk::KeyMap

#include "platform/linux/keys/modifierSymbols.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <array>

namespace vesk::keys {

std::span<const xkb_keysym_t> modifierSymbols(EventFlags modifier) {
  static constexpr std::array<xkb_keysym_t, 2> shift{XKB_KEY_Shift_L, XKB_KEY_Shift_R};
  static constexpr std::array<xkb_keysym_t, 2> control{XKB_KEY_Control_L, XKB_KEY_Control_R};
  // On many layouts the right Alt key is the one that reaches the third level.
  static constexpr std::array<xkb_keysym_t, 5> alternate{
      XKB_KEY_Alt_L, XKB_KEY_Alt_R, XKB_KEY_Meta_L, XKB_KEY_Meta_R, XKB_KEY_ISO_Level3_Shift};
  static constexpr std::array<xkb_keysym_t, 4> command{XKB_KEY_Super_L, XKB_KEY_Super_R,
                                                       XKB_KEY_Hyper_L, XKB_KEY_Hyper_R};
  if (modifier == eventFlag::shift) return shift;
  if (modifier == eventFlag::control) return control;
  if (modifier == eventFlag::alternate) return alternate;
  if (modifier == eventFlag::command) return command;
  return {};
}

}  // namespace vesk::keys

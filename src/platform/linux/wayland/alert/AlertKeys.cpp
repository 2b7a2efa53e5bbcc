#include "platform/linux/wayland/alert/AlertKeys.h"

#include <algorithm>
#include <array>

namespace vesk::wayland::alert {
namespace {

struct Named {
  xkb_keysym_t symbol;
  Qt::Key key;
  Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

constexpr std::array<Named, 17> known{{
    {XKB_KEY_Return, Qt::Key_Return},
    {XKB_KEY_KP_Enter, Qt::Key_Enter, Qt::KeypadModifier},
    {XKB_KEY_ISO_Enter, Qt::Key_Enter},
    {XKB_KEY_Escape, Qt::Key_Escape},
    {XKB_KEY_Tab, Qt::Key_Tab},
    {XKB_KEY_KP_Tab, Qt::Key_Tab, Qt::KeypadModifier},
    {XKB_KEY_ISO_Left_Tab, Qt::Key_Backtab, Qt::ShiftModifier},
    {XKB_KEY_space, Qt::Key_Space},
    {XKB_KEY_KP_Space, Qt::Key_Space, Qt::KeypadModifier},
    {XKB_KEY_Left, Qt::Key_Left},
    {XKB_KEY_Right, Qt::Key_Right},
    {XKB_KEY_Up, Qt::Key_Up},
    {XKB_KEY_Down, Qt::Key_Down},
    {XKB_KEY_KP_Left, Qt::Key_Left, Qt::KeypadModifier},
    {XKB_KEY_KP_Right, Qt::Key_Right, Qt::KeypadModifier},
    {XKB_KEY_KP_Up, Qt::Key_Up, Qt::KeypadModifier},
    {XKB_KEY_KP_Down, Qt::Key_Down, Qt::KeypadModifier},
}};

}  // namespace

void AlertKeys::setKeymap(const std::string& text) {
  const keys::Xkb<xkb_keymap> keymap(xkb_keymap_new_from_string(
      context_.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
  state_.reset(keymap == nullptr ? nullptr : xkb_state_new(keymap.get()));
}

void AlertKeys::setModifiers(std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
                             std::uint32_t group) {
  if (state_ != nullptr)
    xkb_state_update_mask(state_.get(), depressed, latched, locked, 0, 0, group);
}

std::optional<AlertKeys::Meaning> AlertKeys::meaningOf(std::uint32_t key) const {
  if (state_ == nullptr) return std::nullopt;
  const xkb_keysym_t symbol = xkb_state_key_get_one_sym(state_.get(), key + keys::keycodeOffset);
  const auto found = std::ranges::find(known, symbol, &Named::symbol);
  if (found == known.end()) return std::nullopt;
  const auto modifiers = AlertKeys::modifiers() | found->modifiers;
  const bool isBack = found->key == Qt::Key_Tab && modifiers.testFlag(Qt::ShiftModifier);
  return Meaning{isBack ? Qt::Key_Backtab : found->key, modifiers};
}

Qt::KeyboardModifiers AlertKeys::modifiers() const {
  struct Modifier {
    const char* name;
    Qt::KeyboardModifier modifier;
  };
  static constexpr std::array<Modifier, 4> all{{{XKB_MOD_NAME_SHIFT, Qt::ShiftModifier},
                                                {XKB_MOD_NAME_CTRL, Qt::ControlModifier},
                                                {XKB_MOD_NAME_ALT, Qt::AltModifier},
                                                {XKB_MOD_NAME_LOGO, Qt::MetaModifier}}};
  Qt::KeyboardModifiers held;
  if (state_ == nullptr) return held;
  for (const auto& each : all) {
    const bool isHeld =
        xkb_state_mod_name_is_active(state_.get(), each.name, XKB_STATE_MODS_EFFECTIVE) > 0;
    held.setFlag(each.modifier, isHeld);
  }
  return held;
}

}  // namespace vesk::wayland::alert

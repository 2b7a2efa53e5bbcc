#pragma once

#include <QtCore/qnamespace.h>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/keys/Xkb.h"

namespace vesk::wayland::alert {

/// What the keys of a keyboard mean to an alert: of all keys, those that choose between its buttons
/// and press one.
///
/// Thread: one. Owns: the keymap. Fails: without a keymap no key means anything.
class AlertKeys {
 public:
  struct Meaning {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
  };

  /// A keymap as a text; one that is none leaves no keymap.
  void setKeymap(const std::string& text);
  void setModifiers(std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
                    std::uint32_t group);

  /// `key` is evdev's number.
  std::optional<Meaning> meaningOf(std::uint32_t key) const;

  Qt::KeyboardModifiers modifiers() const;

 private:
  keys::Xkb<xkb_context> context_{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
  keys::Xkb<xkb_state> state_;
};

}  // namespace vesk::wayland::alert

#pragma once

#include <xkbcommon/xkbcommon.h>

#include <QtCore/qnamespace.h>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

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

  /// A keymap as a text, which may end with a zero.
  void setKeymap(std::span<const char> text);
  void setModifiers(std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
                    std::uint32_t group);

  /// `key` is evdev's number.
  std::optional<Meaning> meaningOf(std::uint32_t key) const;

  Qt::KeyboardModifiers modifiers() const;

 private:
  struct Release {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
    void operator()(xkb_state* state) const { xkb_state_unref(state); }
  };
  template <typename Object>
  using Xkb = std::unique_ptr<Object, Release>;

  Xkb<xkb_context> context_{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
  Xkb<xkb_state> state_;
};

}  // namespace vesk::wayland::alert

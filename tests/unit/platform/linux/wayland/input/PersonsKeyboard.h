#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/input/Seat.h"
#include "platform/linux/wayland/input/sealedFile.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::input {

/// A person's keyboard, as far as the compositor knows.
class PersonsKeyboard {
 public:
  explicit PersonsKeyboard(const char* layout) { use(layout); }

  /// Changes the layout and strikes a key with it, so that it is the one in use.
  void use(const char* layout) {
    const xkb_rule_names names{nullptr, nullptr, layout, nullptr, nullptr};
    const keys::Xkb<xkb_keymap> keymap(
        xkb_keymap_new_from_names(context_.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    const std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
    const std::string content = text.get();
    const Descriptor file = sealedFile(content);
    zwp_virtual_keyboard_v1_keymap(keyboard_.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.get(),
                                   static_cast<std::uint32_t>(content.size() + 1));
    zwp_virtual_keyboard_v1_modifiers(keyboard_.get(), 0, 0, 0, 0);
    constexpr std::uint32_t f24 = 194;
    zwp_virtual_keyboard_v1_key(keyboard_.get(), 0, f24, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_key(keyboard_.get(), 0, f24, WL_KEYBOARD_KEY_STATE_RELEASED);
    // Once until the compositor has carried it out, once more until all others have been told.
    const auto deadline = server::Connection::Clock::now() + server::Connection::patience;
    for (int i = 0; i < 2; ++i) connection_.settle(deadline);
  }

 private:
  server::Connection connection_;
  Seat seat_{connection_};
  keys::Xkb<xkb_context> context_{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
  server::Proxy<zwp_virtual_keyboard_manager_v1> manager_{
      connection_.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface,
                                                        1)};
  server::Proxy<zwp_virtual_keyboard_v1> keyboard_{
      zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager_.get(), seat_.get())};
};

}  // namespace vesk::wayland::input

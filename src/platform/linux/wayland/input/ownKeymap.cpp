#include "platform/linux/wayland/input/ownKeymap.h"

#include <cstdlib>
#include <memory>

namespace vesk::wayland::input {
namespace {

constexpr std::string_view section = "xkb_symbols ";
constexpr std::string_view ownName = "\"vesk_remote\" ";

struct Free {
  void operator()(char* text) const { std::free(text); }
};

/// Where the name of the symbols stands, which serves no other purpose than to be read.
std::size_t nameIn(std::string_view text) {
  const auto found = text.find(section);
  return found == std::string_view::npos ? found : found + section.size();
}

}  // namespace

std::string ownKeymapText(xkb_keymap* keymap) {
  const std::unique_ptr<char, Free> whole(
      xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1));
  if (whole == nullptr) return {};
  std::string text = whole.get();
  const auto name = nameIn(text);
  const auto end = text.find('{', name);
  if (name != std::string::npos && end != std::string::npos)
    text.replace(name, end - name, ownName);
  return text;
}

bool isOwnKeymapText(std::string_view text) {
  const auto name = nameIn(text);
  return name != std::string_view::npos && text.substr(name).starts_with(ownName);
}

}  // namespace vesk::wayland::input

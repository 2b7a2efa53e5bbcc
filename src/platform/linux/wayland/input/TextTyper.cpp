#include "platform/linux/wayland/input/TextTyper.h"

#include <set>
#include <utility>

#include "platform/linux/keys/typeableCharacter.h"

namespace vesk::wayland::input {
namespace {

/// Sent together, characters are one message to the compositor and one from there to the program
/// that reads them: the system keeps some hundred messages for whoever has fallen behind, however
/// small they are. So many strokes are less than half of what the connection holds back.
constexpr std::size_t sentTogether = 32;

std::u32string typeable(std::u32string_view characters) {
  std::u32string all;
  for (const char32_t character : characters)
    if (const auto typed = keys::typeableCharacter(character)) all += *typed;
  return all;
}

/// The length of the beginning that has no more than so many different characters.
std::size_t lengthOfPart(std::u32string_view characters, std::size_t different) {
  std::set<char32_t> seen;
  std::size_t length = 0;
  for (; length < characters.size(); ++length) {
    seen.insert(characters[length]);
    if (seen.size() > different) break;
  }
  return length;
}

}  // namespace

TextTyper::TextTyper(VirtualKeyboard& keyboard, const InputGate& gate,
                     std::function<bool()> mayGoOn)
    : keyboard_(keyboard),
      gate_(gate),
      mayGoOn_(std::move(mayGoOn)),
      context_(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES)) {
  if (context_ != nullptr) xkb_context_set_log_level(context_.get(), XKB_LOG_LEVEL_CRITICAL);
}

void TextTyper::type(std::u16string_view run) {
  const std::u32string characters = typeable(joiner_.join(run));
  for (std::u32string_view rest(characters); !rest.empty();) {
    // Half of the keys at a time: what has just been typed may not have been looked up yet.
    const auto part = rest.substr(0, lengthOfPart(rest, TextKeymap::capacity() / 2));
    rest.remove_prefix(part.size());
    if (!typePart(part)) return endText();
  }
}

/// Whether all of it was typed.
bool TextTyper::typePart(std::u32string_view part) {
  if (!gate_.isOpen() || !mayGoOn_()) return false;
  giveKeys(part);
  std::size_t typed = 0;
  for (const char32_t character : part) {
    const auto key = characters_.find(character);
    if (!key) continue;
    if (!keyboard_.pressAndRelease(*key)) return false;
    if (++typed % sentTogether == 0 && !mayGoOn_()) return false;
  }
  return true;
}

void TextTyper::giveKeys(std::u32string_view part) {
  if ((characters_.assign(part) || keymap_ == nullptr) && context_ != nullptr) {
    keymap_.reset(xkb_keymap_new_from_string(context_.get(), characters_.text().c_str(),
                                             XKB_KEYMAP_FORMAT_TEXT_V1,
                                             XKB_KEYMAP_COMPILE_NO_FLAGS));
  }
  if (!keyboard_.uses(keymap_.get())) keyboard_.use(keymap_.get());
}

}  // namespace vesk::wayland::input

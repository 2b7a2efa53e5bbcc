#include "platform/linux/x11/TextTyper.h"

#include <algorithm>
#include <set>
#include <thread>

#include "platform/linux/x11/XTest.h"

namespace vesk::x11 {
namespace {

/// Characters that are keys rather than text. Of the other control characters no keyboard has any.
std::optional<char32_t> typeable(char32_t character) {
  constexpr char32_t lastControl = 0x1F;
  constexpr char32_t firstHighControl = 0x7F;
  constexpr char32_t lastHighControl = 0x9F;
  if (character == U'\n') return U'\r';
  if (character == U'\r' || character == U'\t' || character == U'\b' || character == 0x1B ||
      character == 0x7F)
    return character;
  if (character <= lastControl) return std::nullopt;
  if (character >= firstHighControl && character <= lastHighControl) return std::nullopt;
  return character;
}

}  // namespace

TextTyper::TextTyper(const Connection& connection, XKeyboard& keyboard, Held& held,
                     HeldRecord& record)
    : connection_(connection),
      keyboard_(keyboard),
      held_(held),
      record_(record),
      spares_(connection),
      reader_(connection) {}

void TextTyper::type(std::u16string_view run) {
  if (generation_ != keyboard_.generation()) {
    spares_.adopt(keyboard_);
    generation_ = keyboard_.generation();
  }
  const Locks locks = keyboard_.locks();
  const auto planned = plan(joiner_.join(run), locks.group);
  for (std::span<const Planned> rest(planned); !rest.empty();) {
    const auto part = nextPart(rest);
    rest = rest.subspan(part.size());
    lendFor(part);
    strike(part, locks);
  }
}

std::vector<TextTyper::Planned> TextTyper::plan(const std::u32string& characters,
                                                std::uint8_t group) const {
  std::vector<Planned> planned;
  for (const char32_t character : characters) {
    const auto wanted = typeable(character);
    if (!wanted) continue;
    planned.push_back(
        {xkb_utf32_to_keysym(*wanted), keyboard_.strokeFor(*wanted, group, spares_.keycodes())});
  }
  return planned;
}

/// As much as can be typed without lending one keycode twice.
std::span<const TextTyper::Planned> TextTyper::nextPart(std::span<const Planned> planned) const {
  std::set<xkb_keysym_t> lent;
  std::size_t length = 0;
  for (; length < planned.size(); ++length) {
    if (planned[length].stroke) continue;
    lent.insert(planned[length].symbol);
    if (lent.size() > std::max(spares_.batch(), std::size_t{1})) break;
  }
  return planned.first(length);
}

void TextTyper::lendFor(std::span<const Planned> part) {
  const auto now = SpareKeys::Time::clock::now();
  std::vector<xkb_keysym_t> missing;
  for (const auto& planned : part) {
    if (planned.stroke) continue;
    if (const auto keycode = spares_.find(planned.symbol)) {
      spares_.struck(*keycode, now);
    } else if (std::ranges::find(missing, planned.symbol) == missing.end()) {
      missing.push_back(planned.symbol);
    }
  }
  if (missing.empty()) return;
  if (const auto lastUse = spares_.lastUseOf(missing.size())) awaitReader(*lastUse);
  held_.mapped.merge(spares_.next(missing.size()));
  record_.write(held_);
  spares_.lend(missing);
}

/// What a key has typed must have been read before the key is lent anew. A program that takes no
/// questions is given time instead.
void TextTyper::awaitReader(SpareKeys::Time lastUse) {
  constexpr std::chrono::milliseconds patience{1000};
  constexpr std::chrono::milliseconds untilRead{200};  // of a terminal on a busy machine
  const auto onOther = [this](const auto& event) { keyboard_.note(event, spares_.keycodes()); };
  if (reader_.hasReadEverything(SpareKeys::Time::clock::now() + patience, onOther)) return;
  std::this_thread::sleep_until(lastUse + untilRead);
}

std::optional<Stroke> TextTyper::strokeOf(const Planned& planned, Locks locks) const {
  if (planned.stroke) return planned.stroke;
  const auto keycode = spares_.find(planned.symbol);
  if (!keycode) return std::nullopt;
  return Stroke{*keycode, {0, locks.group}};
}

void TextTyper::strike(std::span<const Planned> part, Locks locks) {
  std::vector<Stroke> strokes;
  for (const auto& planned : part)
    if (const auto stroke = strokeOf(planned, locks)) strokes.push_back(*stroke);
  for (const auto& stroke : strokes) held_.typing.insert(stroke.keycode);
  held_.locks = locks;
  record_.write(held_);

  Locks current = locks;
  const auto now = SpareKeys::Time::clock::now();
  for (const auto& stroke : strokes) {
    if (stroke.locks != current) keyboard_.setLocks(stroke.locks);
    current = stroke.locks;
    fakeKey(connection_, stroke.keycode, Stroked::down);
    fakeKey(connection_, stroke.keycode, Stroked::up);
    spares_.struck(stroke.keycode, now);
  }
  if (current != locks) keyboard_.setLocks(locks);

  held_.typing.clear();
  held_.locks.reset();
  record_.write(held_);
  xcb_flush(connection_.get());
}

void TextTyper::takeBack() {
  if (held_.mapped.empty()) return;
  awaitReader(SpareKeys::Time::clock::now() - std::chrono::seconds(1));
  spares_.takeBack();
  held_.mapped.clear();
  record_.write(held_);
  xcb_flush(connection_.get());
}

}  // namespace vesk::x11

#include "platform/linux/x11/input/TextTyper.h"

#include <algorithm>
#include <set>

#include "platform/linux/keys/typeableCharacter.h"
#include "platform/linux/x11/input/XTest.h"

namespace vesk::x11::input {
TextTyper::TextTyper(const server::Connection& connection, const InputGate& gate,
                     XKeyboard& keyboard, HeldRecord& record)
    : connection_(connection),
      gate_(gate),
      keyboard_(keyboard),
      record_(record),
      held_(record.held()),
      spares_(connection),
      reader_(connection, gate) {}

void TextTyper::type(std::u16string_view run) {
  if (generation_ != keyboard_.generation()) {
    spares_.adopt(keyboard_);
    keyboard_.leaveOut(spares_.keycodes());
    generation_ = keyboard_.generation();
  }
  const Locks locks = keyboard_.locks();
  const auto planned = plan(joiner_.join(run), locks.group);
  for (std::span<const Planned> rest(planned); !rest.empty();) {
    const auto part = nextPart(rest);
    rest = rest.subspan(part.size());
    if (!lendFor(part) || !strike(part, locks)) return endText();
  }
}

std::vector<TextTyper::Planned> TextTyper::plan(const std::u32string& characters,
                                                std::uint8_t group) const {
  std::vector<Planned> planned;
  for (const char32_t character : characters) {
    const auto wanted = keys::typeableCharacter(character);
    if (!wanted) continue;
    planned.push_back({xkb_utf32_to_keysym(*wanted),
                       keyboard_.layout().strokeFor(*wanted, group, spares_.keycodes())});
  }
  return planned;
}

/// As much as can be typed without lending one level twice.
std::span<const TextTyper::Planned> TextTyper::nextPart(std::span<const Planned> planned) const {
  std::set<xkb_keysym_t> lent;
  std::size_t length = 0;
  for (; length < planned.size(); ++length) {
    if (planned[length].stroke) continue;
    lent.insert(planned[length].symbol);
    if (lent.size() > spares_.batch()) break;
  }
  return planned.first(length);
}

/// Whether the part can be typed now; not once the gate is shut.
bool TextTyper::lendFor(std::span<const Planned> part) {
  const auto missing = missingOf(part);
  if (missing.empty()) return true;
  const auto lending = spares_.plan(missing);
  if (lending.lastUse && !awaitReader(*lending.lastUse, usualPatience)) return false;
  for (const auto& [keycode, symbols] : lending.keys) held_.mapped.insert(keycode);
  record_.write();
  if (!spares_.lend(lending)) spares_.lend(spares_.plan(missingOf(part)));
  return true;
}

/// What is to be lent a key. What has one keeps it until it is struck.
std::vector<xkb_keysym_t> TextTyper::missingOf(std::span<const Planned> part) {
  const auto now = Time::clock::now();
  std::vector<xkb_keysym_t> missing;
  for (const auto& planned : part) {
    if (planned.stroke) continue;
    if (const auto stroke = spares_.find(planned.symbol, 0)) {
      spares_.struck(stroke->keycode, now);
    } else if (std::ranges::find(missing, planned.symbol) == missing.end()) {
      missing.push_back(planned.symbol);
    }
  }
  return missing;
}

/// What a key has typed must have been read before the key is lent anew. A program that takes no
/// questions is given time instead. False once the gate is shut.
bool TextTyper::awaitReader(Time lastUse, std::chrono::milliseconds patience) {
  constexpr std::chrono::milliseconds untilRead{225};  // of a terminal on a busy machine
  if (lastUse < read_) return gate_.isOpen();
  const Time asked = Time::clock::now();
  const auto onOther = [this](const auto& event) { keyboard_.note(event); };
  if (!reader_.hasReadEverything(asked + patience, onOther))
    return gate_.sleepUntil(lastUse + untilRead);
  read_ = asked;
  return true;
}

std::optional<Stroke> TextTyper::strokeOf(const Planned& planned, Locks locks) const {
  return planned.stroke ? planned.stroke : spares_.find(planned.symbol, locks.group);
}

/// Whether all of it was typed; no more is once the gate is shut.
bool TextTyper::strike(std::span<const Planned> part, Locks locks) {
  std::vector<Stroke> strokes;
  for (const auto& planned : part)
    if (const auto stroke = strokeOf(planned, locks)) strokes.push_back(*stroke);
  for (const auto& stroke : strokes) held_.typing.insert(stroke.keycode);
  held_.locks = locks;
  record_.write();

  Locks current = locks;
  lastStroke_ = Time::clock::now();
  auto next = strokes.begin();
  for (; next != strokes.end() && gate_.isOpen(); ++next) {
    if (next->locks != current) keyboard_.setLocks(next->locks);
    current = next->locks;
    fakeKey(connection_, next->keycode, Stroked::down);
    fakeKey(connection_, next->keycode, Stroked::up);
    spares_.struck(next->keycode, lastStroke_);
  }
  if (current != locks) keyboard_.setLocks(locks);

  held_.typing.clear();
  held_.locks.reset();
  record_.write();
  xcb_flush(connection_.get());
  return next == strokes.end();
}

bool TextTyper::takeBackOnceRead(std::chrono::milliseconds patience) {
  if (held_.mapped.empty()) return true;
  if (!awaitReader(lastStroke_, patience)) return false;
  takeBack();
  return true;
}

void TextTyper::takeBack() {
  if (held_.mapped.empty()) return;
  spares_.takeBack();
  held_.mapped.clear();
  record_.write();
  xcb_flush(connection_.get());
}

}  // namespace vesk::x11::input

#include "platform/linux/x11/input/HeldRecord.h"

#include "platform/linux/x11/input/KeyLevels.h"
#include "platform/linux/x11/input/XTest.h"
#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::input {
namespace {

enum class Entry : std::uint32_t { key = 1, button, typing, mapped, locks, capsLock };

constexpr int entryShift = 16;

std::uint32_t number(Entry entry, std::uint32_t value) {
  return (static_cast<std::uint32_t>(entry) << entryShift) | value;
}

void decodeInto(Held& held, std::uint32_t number) {
  constexpr std::uint32_t valueMask = (1U << entryShift) - 1;
  constexpr std::uint32_t lowestKeycode = 8;
  constexpr std::uint32_t byteMask = 0xFF;
  const auto value = number & valueMask;
  const auto low = static_cast<std::uint8_t>(value & byteMask);
  const bool isKeycode = value >= lowestKeycode && value <= byteMask;
  switch (static_cast<Entry>(number >> entryShift)) {
    case Entry::key:
      if (isKeycode) held.keys.insert(low);
      break;
    case Entry::button:
      if (value >= 1 && value <= byteMask) held.buttons.insert(low);
      break;
    case Entry::typing:
      if (isKeycode) held.typing.insert(low);
      break;
    case Entry::mapped:
      if (isKeycode) held.mapped.insert(low);
      break;
    case Entry::locks:
      held.locks = Locks{low, static_cast<std::uint8_t>(value >> 8)};
      break;
    case Entry::capsLock:
      held.capsLock = true;
      break;
  }
}

}  // namespace

std::vector<std::uint32_t> encode(const Held& held) {
  std::vector<std::uint32_t> numbers;
  for (const auto key : held.keys) numbers.push_back(number(Entry::key, key));
  for (const auto button : held.buttons) numbers.push_back(number(Entry::button, button));
  for (const auto key : held.typing) numbers.push_back(number(Entry::typing, key));
  for (const auto key : held.mapped) numbers.push_back(number(Entry::mapped, key));
  if (held.locks) {
    const auto group = static_cast<std::uint32_t>(held.locks->group) << 8;
    numbers.push_back(number(Entry::locks, group | held.locks->modifiers));
  }
  if (held.capsLock) numbers.push_back(number(Entry::capsLock, 0));
  return numbers;
}

Held decode(const std::vector<std::uint32_t>& numbers) {
  Held held;
  for (const auto number : numbers) decodeInto(held, number);
  return held;
}

HeldRecord::HeldRecord(const server::Connection& connection) : connection_(connection) {
  if (connection_) property_ = server::atom(connection_.get(), "_VESK_REMOTE_HELD");
}

Held HeldRecord::read() const {
  return decode(
      server::numbers(connection_.get(), connection_.root(), property_, XCB_ATOM_CARDINAL));
}

void HeldRecord::undoPredecessor(const XKeyboard& keyboard) {
  if (property_ == XCB_ATOM_NONE) return;
  const Held held = read();
  if (held.empty()) return;
  for (const auto button : held.buttons) fakeButton(connection_, button, Stroked::up);
  for (const auto key : held.keys) fakeKey(connection_, key, Stroked::up);
  for (const auto key : held.typing) fakeKey(connection_, key, Stroked::up);
  if (held.locks || held.capsLock) {
    Locks locks = held.locks.value_or(keyboard.locks());
    if (held.capsLock) locks.modifiers &= static_cast<XModifiers>(~capsLockModifier);
    keyboard.setLocks(locks);
  }
  unmapKeys(connection_, std::vector(held.mapped.begin(), held.mapped.end()));
  xcb_delete_property(connection_.get(), connection_.root(), property_);
  xcb_flush(connection_.get());
}

void HeldRecord::write() {
  if (held_ == written_ || property_ == XCB_ATOM_NONE) return;
  written_ = held_;
  const auto numbers = encode(held_);
  if (numbers.empty()) {
    xcb_delete_property(connection_.get(), connection_.root(), property_);
    return;
  }
  xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, connection_.root(), property_,
                      XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(numbers.size()),
                      numbers.data());
}

}  // namespace vesk::x11::input

#include "platform/linux/x11/input/XEventPoster.h"

#include <xcb/xproto.h>

#include <algorithm>
#include <cstdlib>
#include <span>
#include <utility>

#include "platform/linux/x11/input/KeyPositions.h"
#include "platform/linux/x11/input/XTest.h"

namespace vesk::x11::input {
namespace {

/// Long enough for what is typed next to find its characters still lent, short enough for the
/// person never to meet a lent keycode.
constexpr std::chrono::milliseconds lendingTime{1500};

std::uint8_t buttonNumber(MouseButton button) {
  switch (button) {
    case MouseButton::center:
      return 2;
    case MouseButton::right:
      return 3;
    case MouseButton::left:
      break;
  }
  return 1;
}

bool isPress(EventType type) {
  return type == EventType::leftMouseDown || type == EventType::rightMouseDown ||
         type == EventType::otherMouseDown;
}

bool isRelease(EventType type) {
  return type == EventType::leftMouseUp || type == EventType::rightMouseUp ||
         type == EventType::otherMouseUp;
}

}  // namespace

XEventPoster::XEventPoster(InputGate& gate)
    : gate_(gate), afterText_(lendingTime, [this] { takeBackLentKeys(); }) {
  record_.undoPredecessor(keyboard_);
  gate_.onClose = [this] {
    const std::lock_guard lock(mutex_);
    if (!connection_) return;
    typer_.takeBack();
    letGo();
  };
}

XEventPoster::~XEventPoster() {
  constexpr std::chrono::milliseconds patienceAtTheEnd{250};
  gate_.onClose = nullptr;
  const std::lock_guard lock(mutex_);
  if (!connection_) return;
  letGo();
  if (!typer_.takeBackOnceRead(patienceAtTheEnd)) typer_.takeBack();
  // Closing the connection sends nothing.
  keyboard_.locks();
}

/// Everything is up when this returns, and this object holds nothing: what others believe to be
/// held and let go later changes nothing any more.
void XEventPoster::letGo() {
  typer_.endText();
  for (const auto& [button, physical] : std::exchange(buttons_, {}))
    fakeButton(connection_, physical, Stroked::up);
  for (const auto keycode : held_.keys) fakeKey(connection_, keycode, Stroked::up);
  held_.buttons.clear();
  held_.keys.clear();
  keys_.clear();
  modifierKeys_ = {};
  makeCapsLockTrue(/*locked=*/false);
  record_.write(held_);
  // The answer says that the server has done all of it.
  keyboard_.locks();
}

/// Whoever shuts the gate meanwhile takes them back, or an end of input is over soon.
void XEventPoster::takeBackLentKeys() {
  const std::lock_guard lock(mutex_);
  if (connection_ && !typer_.takeBackOnceRead()) afterText_.restart();
}

void XEventPoster::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!connection_) return;
  if (!gate_.isOpen()) {
    if (isRelease(event.type)) releaseButton(event.button);
    return flush();
  }
  if (event.flags) makeTrue(*event.flags);
  fakeMotion(connection_, event.point);
  if (isPress(event.type)) pressButton(event.button);
  if (isRelease(event.type)) releaseButton(event.button);
  flush();
}

void XEventPoster::post(const ScrollEvent& event) {
  constexpr std::uint8_t up = 4;
  constexpr std::uint8_t down = 5;
  constexpr int linesPerNotch = 3;
  const std::lock_guard lock(mutex_);
  if (!connection_ || !gate_.isOpen() || event.lines == 0) return;
  const auto button = physicalButton(event.lines > 0 ? up : down);
  const int notches = std::max(1, std::abs(event.lines) / linesPerNotch);
  for (int i = 0; i < notches && gate_.isOpen(); ++i) {
    fakeButton(connection_, button, Stroked::down);
    fakeButton(connection_, button, Stroked::up);
  }
  flush();
}

void XEventPoster::post(const KeyboardEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!connection_) return;
  if (event.unicode) {
    // Both strokes of a character are made with the first event of the pair.
    if (event.down) type(*event.unicode);
    return;
  }
  typer_.endText();
  if (event.type == EventType::flagsChanged) {
    changeFlags(event);
  } else if (!event.down) {
    releaseKey(event.keyCode);
  } else if (gate_.isOpen()) {
    pressKey(event);
  }
  flush();
}

std::optional<Point> XEventPoster::pointerLocation() {
  const std::lock_guard lock(mutex_);
  if (!connection_) return std::nullopt;
  const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
      connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
  if (pointer == nullptr) return std::nullopt;
  return Point{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
}

void XEventPoster::pressButton(MouseButton button) {
  const std::uint8_t number = buttonNumber(button);
  // A program sees no second press of a button that is down.
  if (buttons_.contains(button)) releaseButton(button);
  if (!gate_.isOpen() || othersHoldButton(number)) return;
  const std::uint8_t physical = physicalButton(number);
  buttons_.emplace(button, physical);
  held_.buttons.insert(physical);
  record_.write(held_);
  fakeButton(connection_, physical, Stroked::down);
}

void XEventPoster::releaseButton(MouseButton button) {
  const auto held = buttons_.find(button);
  if (held == buttons_.end()) return;
  fakeButton(connection_, held->second, Stroked::up);
  held_.buttons.erase(held->second);
  record_.write(held_);
  buttons_.erase(held);
}

/// A left-handed person's mouse has its buttons swapped by the server; the viewer's has not.
std::uint8_t XEventPoster::physicalButton(std::uint8_t button) const {
  const server::ReplyPtr<xcb_get_pointer_mapping_reply_t> mapping(xcb_get_pointer_mapping_reply(
      connection_.get(), xcb_get_pointer_mapping(connection_.get()), nullptr));
  if (mapping == nullptr) return button;
  const std::span buttons(
      xcb_get_pointer_mapping_map(mapping.get()),
      static_cast<std::size_t>(xcb_get_pointer_mapping_map_length(mapping.get())));
  const auto found = std::ranges::find(buttons, button);
  if (found == buttons.end()) return button;
  return static_cast<std::uint8_t>(found - buttons.begin() + 1);
}

bool XEventPoster::othersHoldButton(std::uint8_t button) const {
  const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
      connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
  return pointer != nullptr && (pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1))) != 0;
}

void XEventPoster::pressKey(const KeyboardEvent& event) {
  keyboard_.refresh();
  if (event.flags) makeTrue(*event.flags);
  const auto keycode = keyboard_.layout().keycodeAt(event.keyCode);
  if (!keycode) return;
  XModifiers affected = 0;
  XModifiers values = 0;
  if (event.flags) {
    affected |= capsLockModifier;
    if ((*event.flags & eventFlag::alphaShift) != 0) values |= capsLockModifier;
  }
  if (isKeypadDigit(event.keyCode)) {
    const XModifiers forDigit = keyboard_.layout().modifiersForDigit(*keycode);
    affected |= forDigit;
    values |= forDigit;
  }
  strikeWithLocks(*keycode, affected, values);
  if (held_.keys.contains(*keycode)) keys_.emplace(event.keyCode, *keycode);
}

/// The person's own Caps Lock and Num Lock are set aside for the one stroke.
void XEventPoster::strikeWithLocks(xcb_keycode_t keycode, XModifiers affected, XModifiers values) {
  const Locks locks = affected == 0 ? Locks{} : keyboard_.locks();
  const bool differ = (locks.modifiers & affected) != values;
  if (differ) {
    held_.locks = locks;
    record_.write(held_);
    keyboard_.setLockedModifiers(affected, values);
  }
  press(keycode);
  if (!differ) return;
  keyboard_.setLockedModifiers(affected, locks.modifiers);
  held_.locks.reset();
  record_.write(held_);
}

void XEventPoster::releaseKey(KeyCode key) {
  const auto held = keys_.find(key);
  if (held == keys_.end()) return;
  release(held->second);
  keys_.erase(held);
}

void XEventPoster::changeFlags(const KeyboardEvent& event) {
  const EventFlags flags = event.flags.value_or(0);
  if (!gate_.isOpen()) return releaseUnless(flags);
  keyboard_.refresh();
  if (event.down) {
    const auto keycode = keyboard_.layout().keycodeAt(event.keyCode);
    for (std::size_t i = 0; keycode && i < modifiers.size(); ++i) {
      // A layout may have made another key of it, and then its position says nothing.
      const auto keys = keyboard_.layout().keysOf(modifiers[i]);
      if ((flags & modifiers[i]) == 0 || std::ranges::find(keys, *keycode) == keys.end()) continue;
      modifierKeys_[i].preferred = *keycode;
      if (press(*keycode)) modifierKeys_[i].held.insert(*keycode);
    }
  }
  makeTrue(flags);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) == 0) modifierKeys_[i].preferred.reset();
}

void XEventPoster::type(const std::u16string& run) {
  if (!gate_.isOpen()) return typer_.endText();
  keyboard_.refresh();
  for (auto& keys : modifierKeys_)
    for (const auto keycode : std::exchange(keys.held, {})) release(keycode);
  typer_.type(run);
  afterText_.restart();
}

void XEventPoster::makeTrue(EventFlags flags) {
  releaseUnless(flags);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) != 0 && modifierKeys_[i].held.empty()) pressModifier(i);
  if ((flags & eventFlag::alphaShift) != 0) makeCapsLockTrue(/*locked=*/true);
}

void XEventPoster::releaseUnless(EventFlags flags) {
  for (std::size_t i = 0; i < modifiers.size(); ++i) {
    if ((flags & modifiers[i]) != 0) continue;
    for (const auto keycode : std::exchange(modifierKeys_[i].held, {})) release(keycode);
  }
  if ((flags & eventFlag::alphaShift) == 0) makeCapsLockTrue(/*locked=*/false);
}

void XEventPoster::pressModifier(std::size_t index) {
  keyboard_.refresh();
  auto keys = keyboard_.layout().keysOf(modifiers[index]);
  if (const auto preferred = modifierKeys_[index].preferred) keys.insert(keys.begin(), *preferred);
  for (const auto keycode : keys) {
    if (!press(keycode)) continue;
    modifierKeys_[index].held.insert(keycode);
    return;
  }
}

void XEventPoster::makeCapsLockTrue(bool locked) {
  if (locked == held_.capsLock) return;
  if (!locked) {
    keyboard_.setLockedModifiers(capsLockModifier, 0);
    held_.capsLock = false;
    record_.write(held_);
  } else if ((keyboard_.locks().modifiers & capsLockModifier) == 0) {
    held_.capsLock = true;
    record_.write(held_);
    keyboard_.setLockedModifiers(capsLockModifier, capsLockModifier);
  }
}

/// Whether this object holds the key now.
bool XEventPoster::press(xcb_keycode_t keycode) {
  if (!gate_.isOpen()) return held_.keys.contains(keycode);
  if (!held_.keys.contains(keycode)) {
    if (othersHold(keycode)) return false;
    held_.keys.insert(keycode);
    record_.write(held_);
  }
  fakeKey(connection_, keycode, Stroked::down);
  return true;
}

void XEventPoster::release(xcb_keycode_t keycode) {
  fakeKey(connection_, keycode, Stroked::up);
  held_.keys.erase(keycode);
  record_.write(held_);
}

bool XEventPoster::othersHold(xcb_keycode_t keycode) const {
  constexpr unsigned bitsPerByte = 8;
  const server::ReplyPtr<xcb_query_keymap_reply_t> keys(
      xcb_query_keymap_reply(connection_.get(), xcb_query_keymap(connection_.get()), nullptr));
  return keys != nullptr &&
         (keys->keys[keycode / bitsPerByte] >> (keycode % bitsPerByte) & 1U) != 0;
}

}  // namespace vesk::x11::input

#include "platform/linux/wayland/input/InputDevices.h"

#include <chrono>
#include <utility>

#include "platform/linux/wayland/input/untilListening.h"

namespace vesk::wayland::input {
namespace {

/// What ends the viewer's hands is over soon, whether the compositor answers or not.
constexpr std::chrono::milliseconds patience{200};

/// A compositor that is only busy reads again before that.
constexpr std::chrono::milliseconds patienceWithReader{1000};
constexpr std::chrono::milliseconds untilAskedAgain{2};

using Clock = server::Connection::Clock;

}  // namespace

InputDevices::InputDevices(const InputGate& gate, const stream::WatchedDisplay& watched,
                           keys::HeldRecord& record)
    : gate_(gate),
      record_(record),
      pointer_(connection_, outputs_, watched, seat_.get(), gate_, record_) {
  if (!connection_) return;
  if (!seat_.isEquipped()) listeningFrom_ = Clock::now() + untilListening;
  seat_.expectOwnKeymap();
  usePersonsKeymap();
  if (record_.isLeftBehind()) pointer_.releaseLeftBehind(record_.read());
  if (connection_.settle(Clock::now() + patience)) record_.clear();
}

InputDevices::~InputDevices() {
  if (connection_) letGo();
}

/// Whether something can be posted: what was asked for has all been sent. Takes in what has come.
bool InputDevices::isReading() {
  if (!connection_.dispatch() || !hasSent()) return false;
  if (std::exchange(isBehind_, false)) letGo();
  return !isBehind_;
}

/// Whether what was asked for has all been sent. A compositor that does not take it is waited for
/// while the gate is open, and no more once that was in vain.
bool InputDevices::hasSent() {
  const auto deadline = Clock::now() + patienceWithReader;
  while (!connection_.flush()) {
    const auto now = Clock::now();
    const bool mayWait = !isBehind_ && now < deadline && connection_.dispatch();
    if (!mayWait || !gate_.sleepUntil(now + untilAskedAgain)) {
      isBehind_ = true;
      return false;
    }
  }
  return true;
}

/// Waits for them where they have to be. False once the gate is shut.
bool InputDevices::areProgramsListening() {
  const auto from = std::exchange(listeningFrom_, std::nullopt);
  return from ? gate_.sleepUntil(*from) : gate_.isOpen();
}

void InputDevices::letGo() {
  typer_.endText();
  if (!connection_.flush()) {
    isBehind_ = true;
    return;
  }
  pointer_.releaseAll();
  keyboard_.releaseAll();
  keys_.forget();
  modifiers_.forget();
  // A compositor that is held up may never read it: it drops whoever is gone by then.
  if (connection_.settle(Clock::now() + patience)) record_.update();
}

/// The record forgets what was let go of once the compositor has carried it out: it drops what it
/// has not read of whoever is gone.
void InputDevices::send() {
  if (record_.isAhead() && confirmation_ == nullptr) {
    asked_ = record_.held();
    confirmation_.reset(wl_display_sync(connection_.get()));
    static constexpr wl_callback_listener listener{[](void* self, wl_callback*, std::uint32_t) {
      static_cast<InputDevices*>(self)->confirm();
    }};
    wl_callback_add_listener(confirmation_.get(), &listener, this);
  }
  connection_.flush();
}

void InputDevices::confirm() {
  confirmation_.reset();
  // What was let go of since is asked about with what is posted next.
  if (record_.held() == asked_) record_.update();
}

std::optional<Point> InputDevices::post(const MouseEvent& event) {
  if (!isReading()) return std::nullopt;
  std::optional<Point> place;
  if (gate_.isOpen()) {
    if (event.flags) makeTrue(*event.flags);
    place = pointer_.move(event.point);
    if (isMousePress(event.type) && areProgramsListening()) pointer_.press(event.button);
  }
  if (isMouseRelease(event.type)) pointer_.release(event.button);
  send();
  return place;
}

void InputDevices::post(const ScrollEvent& event) {
  if (!isReading() || !areProgramsListening()) return;
  pointer_.scroll(event.lines);
  connection_.flush();
}

void InputDevices::post(const KeyboardEvent& event) {
  if (!isReading()) return;
  if (event.unicode) {
    // Both strokes of a character are made with the first event of the pair.
    if (event.down) type(*event.unicode);
  } else {
    typer_.endText();
    postKey(event);
  }
  send();
}

/// After text, the person's keymap is needed again only for what is pressed.
void InputDevices::makeTrue(EventFlags flags) {
  if (flags == 0) return modifiers_.releaseUnless(0);
  modifiers_.makeTrue(flags, usePersonsKeymap());
}

void InputDevices::postKey(const KeyboardEvent& event) {
  const bool isOpen = areProgramsListening();
  if (event.type == EventType::flagsChanged) {
    if (!isOpen) return modifiers_.releaseUnless(event.flags.value_or(0));
    modifiers_.change(event, usePersonsKeymap());
  } else if (!event.down) {
    keys_.release(event.keyCode);
  } else if (isOpen) {
    const KeyboardLayout layout = usePersonsKeymap();
    if (event.flags) modifiers_.makeTrue(*event.flags, layout);
    keys_.press(event.keyCode, layout);
  }
}

void InputDevices::type(const std::u16string& run) {
  if (!areProgramsListening()) return typer_.endText();
  keyboard_.releaseAll();
  keys_.forget();
  modifiers_.forgetHeld();
  typer_.type(run);
}

/// The keyboard lets go of everything where its keymap changes.
KeyboardLayout InputDevices::usePersonsKeymap() {
  auto* const keymap = seat_.keymap();
  if (!keyboard_.uses(keymap)) {
    keyboard_.use(keymap);
    keys_.forget();
    modifiers_.forgetHeld();
  }
  return KeyboardLayout(keymap);
}

}  // namespace vesk::wayland::input

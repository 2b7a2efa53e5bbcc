#include "platform/linux/portal/input/PortalEventPoster.h"

#include <linux/input-event-codes.h>

#include <chrono>
#include <utility>

#include "platform/linux/keys/KeyPositions.h"
#include "platform/linux/wayland/input/untilListening.h"

namespace vesk::portal::input {
namespace {

using std::chrono::milliseconds;

/// What ends the viewer's hands is over soon, whether the desktop answers or not.
constexpr milliseconds patience{200};

/// Whether the modifiers make a shortcut of a key, for which its case means nothing.
bool makeShortcut(EventFlags flags) {
  return (flags & (eventFlag::control | eventFlag::alternate | eventFlag::command)) != 0;
}

}  // namespace

PortalEventPoster::PortalEventPoster(InputGate& gate, std::shared_ptr<session::StrokeQueue> strokes,
                                     const stream::WatchedDisplay& watched)
    : gate_(gate), strokes_(std::move(strokes)), pointer_(*strokes_, watched) {
  gate_.onClose = [this] {
    const std::lock_guard lock(mutex_);
    letGo();
  };
  gate_.onEnded = [this] {
    const std::lock_guard lock(mutex_);
    letGo();
    seat_.reset();
    if (const auto count = typer_.takeLacking(); count > 0 && onLacking) onLacking(count);
  };
}

PortalEventPoster::~PortalEventPoster() {
  gate_.onClose = nullptr;
  gate_.onEnded = nullptr;
  letGo();
}

/// Whether there is somebody to post to. Takes in that all is up when it is.
bool PortalEventPoster::isReady() {
  const auto age = strokes_->age();
  if (std::exchange(age_, age) != age) {
    // The stroke that found no room may be a press that stands behind what was let go of.
    strokes_->letGo();
    forget();
    hasBroughtKeyboard_ = false;
  }
  return strokes_->isOpen();
}

PersonsSeat& PortalEventPoster::seat() {
  if (seat_ == nullptr) seat_ = std::make_unique<PersonsSeat>();
  seat_->follow();
  return *seat_;
}

/// A session's keyboard comes with its first key. Where there is no other, that key is for nobody,
/// so it is one that does nothing by itself. False once the gate is shut.
bool PortalEventPoster::hasListeningKeyboard() {
  if (!gate_.isOpen()) return false;
  if (hasBroughtKeyboard_) return true;
  hasBroughtKeyboard_ = true;
  auto& persons = seat();
  if (!persons || persons.hasKeyboard()) return true;
  keyboard_.press(KEY_LEFTSHIFT);
  keyboard_.release(KEY_LEFTSHIFT);
  strokes_->settle(patience);
  return gate_.sleepUntil(std::chrono::steady_clock::now() + wayland::input::untilListening);
}

void PortalEventPoster::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!isReady()) return;
  if (gate_.isOpen()) {
    if (event.flags) makeTrue(*event.flags);
    auto& persons = seat();
    const auto place = pointer_.move(event.point, persons.outputs(), persons.unit());
    if (place) place_ = place;
    if (isMousePress(event.type)) pointer_.press(event.button);
  }
  if (isMouseRelease(event.type)) pointer_.release(event.button);
}

void PortalEventPoster::makeTrue(EventFlags flags) {
  // What is let go of needs neither a layout nor programs that listen.
  if (flags == 0) return modifiers_.releaseUnless(0);
  if (hasListeningKeyboard()) modifiers_.makeTrue(flags, seat().layout());
}

void PortalEventPoster::post(const ScrollEvent& event) {
  const std::lock_guard lock(mutex_);
  if (isReady() && gate_.isOpen()) pointer_.scroll(event.lines, seat().stepsPerNotch());
}

void PortalEventPoster::post(const KeyboardEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!isReady()) return;
  if (event.unicode) {
    // Both strokes of a character are made with the first event of the pair.
    if (event.down) type(*event.unicode);
    return;
  }
  typer_.endText();
  if (!isRelease(event) && !hasListeningKeyboard()) return;
  postKey(event);
}

void PortalEventPoster::postKey(const KeyboardEvent& event) {
  if (event.type == EventType::flagsChanged) {
    const auto flags = event.flags.value_or(0);
    if (flags == 0) return modifiers_.releaseUnless(0);
    modifiers_.change(event, seat().layout());
  } else if (event.down) {
    press(event);
  } else {
    keys_.release(event.keyCode);
  }
}

void PortalEventPoster::press(const KeyboardEvent& event) {
  const auto layout = seat().layout();
  const auto digit =
      keys::isKeypadDigit(event.keyCode) ? layout.digitAt(event.keyCode) : std::nullopt;
  const EventFlags flags = event.flags.value_or(0);
  if (event.flags) modifiers_.makeTrue(flags, layout);
  // The keypad's own key means something else without Num Lock, which is the person's.
  if (digit && !makeShortcut(flags)) return typer_.strike(*digit, seat().symbols());
  const auto key = layout.keyAt(event.keyCode);
  const bool isOtherCase =
      (flags & eventFlag::alphaShift) != 0 && !makeShortcut(flags) && key && layout.isLetter(*key);
  // So is Caps Lock.
  if (isOtherCase) modifiers_.makeTrue(flags ^ eventFlag::shift, layout);
  keys_.press(event.keyCode, layout);
  if (isOtherCase) modifiers_.makeTrue(flags, layout);
}

void PortalEventPoster::type(const std::u16string& run) {
  if (!hasListeningKeyboard()) return typer_.endText();
  keyboard_.releaseAll();
  keys_.forget();
  modifiers_.forgetHeld();
  typer_.type(run, seat().symbols());
}

/// Everything is up when this returns, where the desktop answers in time.
void PortalEventPoster::letGo() {
  typer_.endText();
  strokes_->letGo();
  strokes_->settle(patience);
  forget();
}

/// Everything is up already.
void PortalEventPoster::forget() {
  keys_.forget();
  modifiers_.forget();
  keyboard_.forget();
}

std::optional<Point> PortalEventPoster::pointerLocation() {
  const std::lock_guard lock(mutex_);
  return place_;
}

}  // namespace vesk::portal::input

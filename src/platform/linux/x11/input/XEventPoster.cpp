#include "platform/linux/x11/input/XEventPoster.h"

#include "platform/linux/x11/input/XTest.h"

namespace vesk::x11::input {
namespace {

/// Long enough for what is typed next to find its characters still lent, short enough for the
/// person never to meet a lent keycode.
constexpr std::chrono::milliseconds lendingTime{1500};

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
  held_.releaseAll();
  buttons_.forget();
  keys_.forget();
  modifiers_.forget();
  locks_.makeCapsLockTrue(/*locked=*/false);
  record_.write();
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
  if (gate_.isOpen()) {
    if (event.flags) modifiers_.makeTrue(*event.flags);
    fakeMotion(connection_, event.point);
    if (isMousePress(event.type)) buttons_.press(event.button);
  }
  if (isMouseRelease(event.type)) buttons_.release(event.button);
  flush();
}

void XEventPoster::post(const ScrollEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!connection_ || !gate_.isOpen()) return;
  buttons_.scroll(event.lines);
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
  postKey(event);
  flush();
}

void XEventPoster::postKey(const KeyboardEvent& event) {
  const bool open = gate_.isOpen();
  if (event.type == EventType::flagsChanged) {
    if (!open) return modifiers_.releaseUnless(event.flags.value_or(0));
    modifiers_.change(event);
  } else if (!event.down) {
    keys_.release(event.keyCode);
  } else if (open) {
    keyboard_.refresh();
    if (event.flags) modifiers_.makeTrue(*event.flags);
    keys_.press(event);
  }
}

void XEventPoster::type(const std::u16string& run) {
  if (!gate_.isOpen()) return typer_.endText();
  keyboard_.refresh();
  modifiers_.release();
  typer_.type(run);
  afterText_.restart();
}

std::optional<Point> XEventPoster::pointerLocation() {
  const std::lock_guard lock(mutex_);
  if (!connection_) return std::nullopt;
  const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
      connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
  if (pointer == nullptr) return std::nullopt;
  return Point{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
}

}  // namespace vesk::x11::input

#include "platform/linux/x11/alert/AlertInput.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

#include "platform/linux/x11/alert/AlertWindow.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Xkb.h"

namespace vesk::x11::alert {
namespace {

template <typename Event>
const Event& as(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Event&>(event);
}

std::uint8_t typeOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }

/// Whether another client made the event up. Hands make theirs through the server.
bool isMadeUp(const xcb_generic_event_t& event) { return (event.response_type & 0x80) != 0; }

xcb_window_t windowOf(const xcb_generic_event_t& event) {
  switch (typeOf(event)) {
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE:
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE:
      return as<xcb_key_press_event_t>(event).event;
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
      return as<xcb_focus_in_event_t>(event).event;
    case XCB_EXPOSE:
      return as<xcb_expose_event_t>(event).window;
    case XCB_UNMAP_NOTIFY:
      return as<xcb_unmap_notify_event_t>(event).window;
    case XCB_CONFIGURE_NOTIFY:
      return as<xcb_configure_notify_event_t>(event).window;
    case XCB_PROPERTY_NOTIFY:
      return as<xcb_property_notify_event_t>(event).window;
    default:
      return XCB_NONE;
  }
}

}  // namespace

AlertInput::AlertInput(QWidget& alert)
    : alert_(alert),
      connection_(qtConnection()),
      window_(static_cast<xcb_window_t>(alert.winId())),
      time_(connection_, window_) {
  if (connection_ == nullptr) return;
  askForTrueReleases();
  QCoreApplication::instance()->installNativeEventFilter(this);
  alert_.windowHandle()->installEventFilter(this);
}

AlertInput::~AlertInput() {
  if (connection_ != nullptr) QCoreApplication::instance()->removeNativeEventFilter(this);
}

/// The server otherwise lets a key that is held seem to go up before each repeat.
void AlertInput::askForTrueReleases() {
  const auto* const extension = xcb_get_extension_data(connection_, &xcb_xkb_id);
  if (extension == nullptr || extension->present == 0) return;
  constexpr std::uint32_t detectable = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
  const auto request = xcb_xkb_per_client_flags(connection_, XCB_XKB_ID_USE_CORE_KBD, detectable,
                                                detectable, 0, 0, 0);
  xcb_discard_reply(connection_, request.sequence);
}

bool AlertInput::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  const auto& event = *static_cast<const xcb_generic_event_t*>(message);
  if (windowOf(event) != window_) return false;
  follow(event);
  return isDropped(event);
}

bool AlertInput::isDropped(const xcb_generic_event_t& event) {
  const auto& key = as<xcb_key_press_event_t>(event);
  switch (typeOf(event)) {
    case XCB_KEY_PRESS:
      return isMadeUp(event) || !act_.keyGoesDown(key.detail, time_.timeOf(key.time));
    case XCB_KEY_RELEASE:
      return isMadeUp(event) || !act_.keyGoesUp(key.detail, time_.timeOf(key.time));
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE:
      return isMadeUp(event);
    default:
      return false;
  }
}

void AlertInput::follow(const xcb_generic_event_t& event) {
  // Of a move within its frame, or with it, the window manager tells.
  if (typeOf(event) == XCB_CONFIGURE_NOTIFY) return followPlace(event);
  if (isMadeUp(event)) return;
  switch (typeOf(event)) {
    case XCB_EXPOSE:
      act_.comesIntoSight();
      act_.moves();
      return time_.ask();
    case XCB_UNMAP_NOTIFY:
      return act_.goesOutOfSight();
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
      return followFocus(as<xcb_focus_in_event_t>(event));
    case XCB_PROPERTY_NOTIFY:
      if (const auto now = time_.answerOf(as<xcb_property_notify_event_t>(event))) {
        act_.confirm(*now);
      }
      return;
    default:
      return;
  }
}

void AlertInput::followPlace(const xcb_generic_event_t& event) {
  const auto& place = as<xcb_configure_notify_event_t>(event);
  const Area area{place.x, place.y, place.width, place.height};
  auto& known = isMadeUp(event) ? onScreen_ : inParent_;
  // It is told anew when only the stacking has changed.
  if (known == area) return;
  known = area;
  act_.moves();
  time_.ask();
}

void AlertInput::followFocus(const xcb_focus_in_event_t& event) {
  // Told of a window under the pointer where no window has the focus.
  if (event.detail == XCB_NOTIFY_DETAIL_POINTER) return;
  if (event.response_type == XCB_FOCUS_OUT) return act_.losesFocus();
  act_.getsFocus(heldKeys());
  time_.ask();
}

/// All of them when the server is gone.
DeliberateAct::Keys AlertInput::heldKeys() const {
  DeliberateAct::Keys held;
  const server::ReplyPtr<xcb_query_keymap_reply_t> map(
      xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr));
  for (std::size_t key = 0; key < held.size(); ++key) {
    held[key] = map == nullptr || (map->keys[key / 8] >> key % 8 & 1U) != 0;
  }
  return held;
}

bool AlertInput::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
      return !pressCounts(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
      if (!act_.buttonGoesUp()) letGo();
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

bool AlertInput::pressCounts(const QMouseEvent& press) {
  // One without a time is not the server's.
  const auto time = static_cast<xcb_timestamp_t>(press.timestamp());
  return time != XCB_CURRENT_TIME && act_.buttonGoesDown(time_.timeOf(time));
}

/// The release of a press that counts no more is no click: it finds nothing pressed.
void AlertInput::letGo() {
  for (auto* const button : alert_.findChildren<QAbstractButton*>()) button->setDown(false);
}

}  // namespace vesk::x11::alert

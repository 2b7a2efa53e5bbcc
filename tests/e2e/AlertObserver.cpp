#include "e2e/AlertObserver.h"

#include <chrono>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"

namespace vesk::testing {

AlertObserver::AlertObserver(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
  auto* const c = connection_.get();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
  clock_ = xcb_generate_id(c);
  question_ = x11::server::atom(c, "_VESK_REMOTE_TIME");
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_create_window(c, XCB_COPY_FROM_PARENT, clock_, root, -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
  select(root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
  reader_ = std::thread([this] { read(); });
  now();
}

AlertObserver::~AlertObserver() {
  xcb_destroy_window(connection_.get(), clock_);
  xcb_flush(connection_.get());
  reader_.join();
}

std::uint32_t AlertObserver::now() {
  {
    const std::lock_guard lock(mutex_);
    now_ = 0;
  }
  xcb_change_property(connection_.get(), XCB_PROP_MODE_APPEND, clock_, question_, XCB_ATOM_INTEGER,
                      32, 0, nullptr);
  xcb_flush(connection_.get());
  std::uint32_t time = 0;
  waitFor([&] { return (time = now_) != 0; });
  return time;
}

std::uint32_t AlertObserver::standsSince(xcb_window_t window, std::uint32_t since,
                                         int limitInMilliseconds) {
  std::uint32_t asked = 0;
  waitFor([&] { return (asked = windows_[window].asked) > since; }, limitInMilliseconds);
  return asked;
}

void AlertObserver::waitUntilActsCount(xcb_window_t window) {
  constexpr std::uint32_t settled = 550;
  const std::uint32_t start = now();
  waitUntil([&] {
    const std::uint32_t time = now();
    const std::lock_guard lock(mutex_);
    return time - start >= settled && time - windows_[window].asked >= settled;
  });
}

bool AlertObserver::seesPresses(xcb_window_t window, std::uint8_t key, int count) {
  return waitFor([&] { return windows_[window].presses[key] >= count; });
}

int AlertObserver::presses(xcb_window_t window, std::uint8_t key) {
  const std::lock_guard lock(mutex_);
  return windows_[window].presses[key];
}

bool AlertObserver::waitFor(const std::function<bool()>& condition, int limitInMilliseconds) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(limitInMilliseconds), condition);
}

void AlertObserver::read() {
  while (const x11::server::ReplyPtr<xcb_generic_event_t> event{
      xcb_wait_for_event(connection_.get())}) {
    if (event->response_type == XCB_DESTROY_NOTIFY &&
        reinterpret_cast<const xcb_destroy_notify_event_t&>(*event).window == clock_) {
      return;
    }
    {
      const std::lock_guard lock(mutex_);
      handle(*event);
    }
    changed_.notify_all();
  }
}

void AlertObserver::handle(const xcb_generic_event_t& event) {
  switch (event.response_type) {
    case XCB_CREATE_NOTIFY:
      return select(reinterpret_cast<const xcb_create_notify_event_t&>(event).window,
                    XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_KEY_PRESS);
    case XCB_PROPERTY_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (change.window == clock_) now_ = change.time;
      if (change.atom == question_) windows_[change.window].asked = change.time;
      return;
    }
    case XCB_KEY_PRESS: {
      const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
      ++windows_[press.event].presses[press.detail];
      return;
    }
    default:
      return;
  }
}

void AlertObserver::select(xcb_window_t window, std::uint32_t mask) {
  xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
  xcb_flush(connection_.get());
}

}  // namespace vesk::testing

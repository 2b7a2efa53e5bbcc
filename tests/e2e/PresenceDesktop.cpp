#include "e2e/PresenceDesktop.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <deque>
#include <stdexcept>
#include <string_view>

#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"
#include "support/managesWindows.h"

namespace vesk::testing {

using x11::server::ReplyPtr;

namespace {

/// Who composes draws by GL where there is some.
std::vector<std::string> serverOptions(DesktopKind kind) {
  if (!DesktopManager::composes(kind)) return {};
  return {"+extension", "GLX"};
}

}  // namespace

PresenceDesktop::PresenceDesktop(Kind kind, const std::string& screen)
    : server_(screen, serverOptions(kind)) {
  connection_ = xcb_connect(server_.display().c_str(), nullptr);
  root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  manager_ = std::make_unique<DesktopManager>(kind, server_.environment());
  if (kind != Kind::bare && !manages(kind)) {
    throw std::runtime_error("the window manager did not start");
  }
  if (kind == Kind::openboxPicom) startPicom();
  if (DesktopManager::composes(kind) && !waitUntil([&] { return composited(); })) {
    throw std::runtime_error("the window manager does not compose");
  }
}

/// Openbox tells of itself before it listens; KWin answers no questions about windows that it has
/// not seen yet.
bool PresenceDesktop::manages(Kind kind) {
  if (kind == Kind::openbox || kind == Kind::openboxPicom) return managesWindows(connection_);
  return waitUntil([&] { return hasProperty(root_, "_NET_SUPPORTING_WM_CHECK"); });
}

PresenceDesktop::~PresenceDesktop() { xcb_disconnect(connection_); }

bool PresenceDesktop::composited() const {
  const ReplyPtr<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
      connection_, xcb_get_selection_owner(connection_, atomOf("_NET_WM_CM_S0")), nullptr));
  return owner != nullptr && owner->owner != XCB_NONE;
}

std::vector<std::string> PresenceDesktop::environment() const { return {server_.environment()}; }

void PresenceDesktop::startPicom() {
  compositor_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"picom", "--backend", "xrender", "--config", "/dev/null"},
      environment());
  if (!waitUntil([&] { return composited(); })) throw std::runtime_error("picom did not start");
}

void PresenceDesktop::stopPicom() {
  compositor_.reset();
  waitUntil([&] { return !composited(); });
}

std::vector<std::uint32_t> PresenceDesktop::pixels(int x, int y, int width, int height) {
  const ReplyPtr<xcb_get_image_reply_t> image(xcb_get_image_reply(
      connection_,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(height), ~0U),
      nullptr));
  if (image == nullptr) return {};
  const auto* const values =
      reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
  std::vector<std::uint32_t> result(values, values + std::ptrdiff_t{width} * height);
  for (auto& value : result) value &= 0xffffffU;
  return result;
}

std::uint32_t PresenceDesktop::pixel(int x, int y) {
  const auto all = pixels(x, y, 1, 1);
  return all.empty() ? 0xffffffff : all.front();
}

bool PresenceDesktop::waitForPixel(int x, int y, std::uint32_t colour, int tolerance) {
  return waitUntil([&] {
    const std::uint32_t shown = pixel(x, y);
    for (const unsigned shift : {0U, 8U, 16U}) {
      const int difference =
          static_cast<int>(shown >> shift & 255U) - static_cast<int>(colour >> shift & 255U);
      if (std::abs(difference) > tolerance) return false;
    }
    return true;
  });
}

xcb_window_t PresenceDesktop::alert() {
  xcb_window_t found = XCB_NONE;
  waitUntil([&] {
    for (std::deque<xcb_window_t> left{root_}; !left.empty(); left.pop_front()) {
      const auto name =
          xcb_get_property(connection_, 0, left.front(), XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64);
      const ReplyPtr<xcb_get_property_reply_t> reply(
          xcb_get_property_reply(connection_, name, nullptr));
      if (reply == nullptr) continue;
      const std::string_view text(
          static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
      if (text.find("vesk-remote") != std::string_view::npos && isShown(left.front())) {
        found = left.front();
        return true;
      }
      const ReplyPtr<xcb_query_tree_reply_t> tree(
          xcb_query_tree_reply(connection_, xcb_query_tree(connection_, left.front()), nullptr));
      if (tree == nullptr) continue;
      const auto* const children = xcb_query_tree_children(tree.get());
      left.insert(left.end(), children, children + xcb_query_tree_children_length(tree.get()));
    }
    return false;
  });
  return found;
}

bool PresenceDesktop::isShown(xcb_window_t window) {
  const ReplyPtr<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window), nullptr));
  return reply != nullptr && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

xcb_window_t PresenceDesktop::focus() {
  const ReplyPtr<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  return reply == nullptr ? xcb_window_t{XCB_NONE} : reply->focus;
}

bool PresenceDesktop::hasProperty(xcb_window_t window, const std::string& name) {
  const ReplyPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(
      connection_, xcb_get_property(connection_, 0, window, atomOf(name), XCB_ATOM_ANY, 0, 0),
      nullptr));
  return reply != nullptr && reply->type != XCB_NONE;
}

std::vector<std::uint32_t> PresenceDesktop::property(xcb_window_t window, const std::string& name) {
  const ReplyPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(
      connection_, xcb_get_property(connection_, 0, window, atomOf(name), XCB_ATOM_ANY, 0, 64),
      nullptr));
  if (reply == nullptr || reply->format != 32) return {};
  const auto* const values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return {values, values + reply->value_len};
}

int PresenceDesktop::topLevelWindows() {
  const ReplyPtr<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
  return tree == nullptr ? -1 : xcb_query_tree_children_length(tree.get());
}

std::uint8_t PresenceDesktop::keyCode(std::uint32_t keysym) {
  const auto* const setup = xcb_get_setup(connection_);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const ReplyPtr<xcb_get_keyboard_mapping_reply_t> map(xcb_get_keyboard_mapping_reply(
      connection_, xcb_get_keyboard_mapping(connection_, setup->min_keycode, count), nullptr));
  const auto* const symbols = xcb_get_keyboard_mapping_keysyms(map.get());
  for (int i = 0; i < count; ++i) {
    if (symbols[i * map->keysyms_per_keycode] == keysym) {
      return static_cast<std::uint8_t>(setup->min_keycode + i);
    }
  }
  throw std::runtime_error("no key has that symbol");
}

void PresenceDesktop::press(std::uint32_t keysym) {
  xcb_test_fake_input(connection_, XCB_KEY_PRESS, keyCode(keysym), 0, XCB_NONE, 0, 0, 0);
  xcb_flush(connection_);
}

/// When it comes back the server has released it, so that other clients' clocks are later.
void PresenceDesktop::release(std::uint32_t keysym) {
  xcb_test_fake_input(connection_, XCB_KEY_RELEASE, keyCode(keysym), 0, XCB_NONE, 0, 0, 0);
  focus();
}

void PresenceDesktop::key(std::uint32_t keysym) {
  press(keysym);
  release(keysym);
}

void PresenceDesktop::click(int x, int y, std::uint8_t button) {
  movePointer(x, y);
  xcb_test_fake_input(connection_, XCB_BUTTON_PRESS, button, 0, XCB_NONE, 0, 0, 0);
  xcb_test_fake_input(connection_, XCB_BUTTON_RELEASE, button, 0, XCB_NONE, 0, 0, 0);
  xcb_flush(connection_);
}

void PresenceDesktop::movePointer(int x, int y) {
  xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, 0, root_, static_cast<std::int16_t>(x),
                      static_cast<std::int16_t>(y), 0);
  xcb_flush(connection_);
}

void PresenceDesktop::button(std::uint8_t event, std::uint32_t delayInMilliseconds) {
  xcb_test_fake_input(connection_, event, 1, delayInMilliseconds, XCB_NONE, 0, 0, 0);
  xcb_flush(connection_);
}

void PresenceDesktop::setFocus(xcb_window_t window) {
  xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
  xcb_flush(connection_);
}

xcb_window_t PresenceDesktop::makeWindow(int x, int y, int width, int height, std::uint32_t colour,
                                         bool overrideRedirect) {
  const xcb_window_t window = xcb_generate_id(connection_);
  const std::array<std::uint32_t, 3> values{colour, overrideRedirect ? 1U : 0U,
                                            XCB_EVENT_MASK_BUTTON_PRESS};
  xcb_create_window(
      connection_, XCB_COPY_FROM_PARENT, window, root_, static_cast<std::int16_t>(x),
      static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
      static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
  xcb_map_window(connection_, window);
  xcb_flush(connection_);
  waitUntil([&] { return isShown(window); });
  return window;
}

void PresenceDesktop::destroyWindow(xcb_window_t window) {
  xcb_destroy_window(connection_, window);
  xcb_flush(connection_);
}

void PresenceDesktop::makeFullScreen(xcb_window_t window) {
  for (const auto* const state : {"_NET_WM_STATE_FULLSCREEN", "_NET_WM_STATE_ABOVE"}) {
    tellRoot(window, "_NET_WM_STATE", {1, atomOf(state), 0, 1, 0});
  }
}

void PresenceDesktop::tellRoot(xcb_window_t about, const std::string& type,
                               std::array<std::uint32_t, 5> data) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = about;
  message.type = atomOf(type);
  std::ranges::copy(data, std::begin(message.data.data32));
  xcb_send_event(connection_, 0, root_,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

void PresenceDesktop::tellWindow(xcb_window_t window, const std::string& protocol) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atomOf("WM_PROTOCOLS");
  message.data.data32[0] = atomOf(protocol);
  xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

void PresenceDesktop::goToWorkspace(std::uint32_t number) {
  tellRoot(root_, "_NET_CURRENT_DESKTOP", {number, 0, 0, 0, 0});
  waitUntil([&] { return property(root_, "_NET_CURRENT_DESKTOP") == std::vector{number}; });
}

void PresenceDesktop::setNumber(xcb_window_t window, const std::string& property,
                                std::uint32_t value) {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atomOf(property),
                      XCB_ATOM_CARDINAL, 32, 1, &value);
}

void PresenceDesktop::setMonitor(const std::string& geometry) {
  ChildProcess xrandr({"xrandr", "--setmonitor", "only", geometry, "screen"}, environment());
  constexpr int nothing = 0;
  if (xrandr.stop(nothing) != 0) throw std::runtime_error("the monitor could not be set");
}

xcb_window_t PresenceDesktop::topLevelAt(int x, int y) {
  const ReplyPtr<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
      connection_,
      xcb_translate_coordinates(connection_, root_, root_, static_cast<std::int16_t>(x),
                                static_cast<std::int16_t>(y)),
      nullptr));
  return place == nullptr ? xcb_window_t{XCB_NONE} : place->child;
}

xcb_window_t PresenceDesktop::topLevelOf(xcb_window_t window) {
  while (true) {
    const ReplyPtr<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (tree == nullptr || tree->parent == root_) return window;
    window = tree->parent;
  }
}

bool PresenceDesktop::pressArrives(xcb_window_t window, std::uint8_t button) {
  return waitUntil([&] {
    while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
      if ((event->response_type & 0x7f) != XCB_BUTTON_PRESS) continue;
      const auto& press = reinterpret_cast<const xcb_button_press_event_t&>(*event);
      if (press.event == window && press.detail == button) return true;
    }
    return false;
  });
}

xcb_atom_t PresenceDesktop::atomOf(const std::string& name) const {
  return x11::server::atom(connection_, name);
}

}  // namespace vesk::testing

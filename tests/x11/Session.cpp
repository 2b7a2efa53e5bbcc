#include "x11/Session.h"

#include <sys/wait.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

#include "platform/linux/x11/server/Properties.h"
#include "platform/linux/x11/server/Reader.h"
#include "platform/linux/x11/server/Xkb.h"
#include "support/managesWindows.h"

namespace vesk::testing {
namespace {

using x11::server::ReplyPtr;

std::string output(const std::string& command) {
  std::string text;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::array<char, 4096> buffer{};
  for (std::size_t n = 0; (n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    text.append(buffer.data(), n);
  ::pclose(pipe);
  return text;
}

}  // namespace

bool eventually(const std::function<bool()>& holds) {
  using namespace std::chrono;
  const auto deadline = steady_clock::now() + seconds(30);
  while (!holds()) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(5));
  }
  return true;
}

int run(std::vector<std::string> command, std::vector<std::string> environment) {
  ChildProcess process(std::move(command), std::move(environment));
  const int status = process.stop(0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Session::Session(Windows windows) {
  ::setenv("DISPLAY", server_.display().c_str(), 1);
  connection_ = std::make_unique<x11::server::Connection>();
  if (!*connection_) throw std::runtime_error("no connection");
  const ReplyPtr<xcb_xkb_use_extension_reply_t> xkb(xcb_xkb_use_extension_reply(
      connection_->get(), xcb_xkb_use_extension(connection_->get(), 1, 0), nullptr));
  if (windows == Windows::bare) return;
  // It would read its locale's long table of composed characters anew with every map of the keys.
  windowManager_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"openbox"}, std::vector<std::string>{"XCOMPOSEFILE=/dev/null"});
  bool isReady = managesWindows(connection_->get());
  // With the first stroke of a keyboard everybody gets a new map of the keys. The window manager
  // lets go of its keys for a moment while it reads one; whoever answers behind it is past that.
  strikeShift();
  isReady = isReady && managesWindows(connection_->get());
  if (!isReady) throw std::runtime_error("no window manager");
}

void Session::strikeShift() const {
  constexpr std::uint8_t leftShift = 50;  // on every layout
  for (const auto event : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
    xcb_test_fake_input(connection_->get(), static_cast<std::uint8_t>(event), leftShift,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  }
  settle();
}

void Session::setLayout(std::vector<std::string> layout) {
  layout.insert(layout.begin(), "setxkbmap");
  if (run(std::move(layout)) != 0) throw std::runtime_error("setxkbmap failed");
}

bool Session::has(xcb_window_t window, const std::string& property) const {
  const auto request = xcb_get_property(connection_->get(), 0, window,
                                        x11::server::atom(connection_->get(), property),
                                        XCB_GET_PROPERTY_TYPE_ANY, 0, 0);
  const ReplyPtr<xcb_get_property_reply_t> reply(
      xcb_get_property_reply(connection_->get(), request, nullptr));
  return reply != nullptr && reply->type != XCB_NONE;
}

std::string Session::text(xcb_window_t window, const std::string& property) const {
  const auto request = xcb_get_property(connection_->get(), 0, window,
                                        x11::server::atom(connection_->get(), property),
                                        XCB_GET_PROPERTY_TYPE_ANY, 0, 100000);
  const ReplyPtr<xcb_get_property_reply_t> reply(
      xcb_get_property_reply(connection_->get(), request, nullptr));
  if (reply == nullptr) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

xcb_window_t Session::waitForActive(const std::string& name) {
  xcb_window_t active = XCB_NONE;
  const bool found = eventually([&] {
    const std::string value = text(connection_->root(), "_NET_ACTIVE_WINDOW");
    if (value.size() < sizeof(active)) return false;
    std::copy_n(value.data(), sizeof(active), reinterpret_cast<char*>(&active));
    return active != XCB_NONE && text(active, "WM_CLASS").find(name) != std::string::npos;
  });
  if (!found) return XCB_NONE;
  // It has the focus as well, and has read that: a program that is busy starting loses keys.
  const SystemClock clock;
  const InputGate gate(clock);
  x11::server::Reader reader(*connection_, gate);
  eventually([&] {
    return reader.hasReadEverything(std::chrono::steady_clock::now() + std::chrono::seconds(1),
                                    [](const auto&) {}) ||
           name == "XTerm";
  });
  return active;
}

Point Session::place(xcb_window_t window, Point inWindow) const {
  const auto request = xcb_translate_coordinates(connection_->get(), window, connection_->root(),
                                                 static_cast<std::int16_t>(inWindow.x),
                                                 static_cast<std::int16_t>(inWindow.y));
  const ReplyPtr<xcb_translate_coordinates_reply_t> reply(
      xcb_translate_coordinates_reply(connection_->get(), request, nullptr));
  if (reply == nullptr) return {};
  return {static_cast<double>(reply->dst_x), static_cast<double>(reply->dst_y)};
}

std::vector<int> Session::keysDown() const {
  const ReplyPtr<xcb_query_keymap_reply_t> reply(
      xcb_query_keymap_reply(connection_->get(), xcb_query_keymap(connection_->get()), nullptr));
  std::vector<int> down;
  for (int key = 0; reply != nullptr && key < 256; ++key)
    if ((reply->keys[key / 8] >> (key % 8) & 1) != 0) down.push_back(key);
  return down;
}

int Session::pointerState() const {
  const ReplyPtr<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
      connection_->get(), xcb_query_pointer(connection_->get(), connection_->root()), nullptr));
  return reply == nullptr ? -1 : reply->mask;
}

int Session::lockedModifiers() const {
  const ReplyPtr<xcb_xkb_get_state_reply_t> reply(xcb_xkb_get_state_reply(
      connection_->get(), xcb_xkb_get_state(connection_->get(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
  return reply == nullptr ? -1 : reply->lockedMods;
}

int Session::lockedGroup() const {
  const ReplyPtr<xcb_xkb_get_state_reply_t> reply(xcb_xkb_get_state_reply(
      connection_->get(), xcb_xkb_get_state(connection_->get(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
  return reply == nullptr ? -1 : reply->lockedGroup;
}

void Session::lockGroup(int group) const {
  xcb_xkb_latch_lock_state(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1,
                           static_cast<std::uint8_t>(group), 0, 0, 0);
  settle();
}

std::string Session::keyMap() const { return output("xmodmap -pke"); }

void Session::settle() const { pointerState(); }

void Hands::key(int code, bool down, int mask) {
  send(R"({"t":"k","c":)" + std::to_string(code) + R"(,"e":")" + (down ? "down" : "up") +
       R"(","m":)" + std::to_string(mask) + "}");
}

void Hands::strike(int code, int mask) {
  key(code, true, mask);
  key(code, false, mask);
}

void Hands::move(double x, double y) {
  send(R"({"t":"m","e":"move","x":)" + std::to_string(x) + R"(,"y":)" + std::to_string(y) + "}");
}

void Hands::button(int number, bool down, double x, double y) {
  send(R"({"t":"m","e":")" + std::string(down ? "down" : "up") + R"(","b":)" +
       std::to_string(number) + R"(,"x":)" + std::to_string(x) + R"(,"y":)" + std::to_string(y) +
       "}");
}

void Hands::click(int number, double x, double y) {
  button(number, true, x, y);
  button(number, false, x, y);
}

void Hands::text(const std::string& utf8) { send(nlohmann::json{{"t", "u"}, {"s", utf8}}.dump()); }

}  // namespace vesk::testing

#include "platform/linux/wayland/server/Connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

#include "platform/Descriptor.h"

namespace vesk::wayland::server {
namespace {

/// Where the compositor listens that the session names; nothing where it names none: the library
/// would take the first one that it finds.
std::string socketPath() {
  const char* const name = std::getenv("WAYLAND_DISPLAY");
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  if (name == nullptr || *name == '\0') return {};
  if (*name == '/') return name;
  return folder == nullptr ? std::string() : std::string(folder) + '/' + name;
}

/// Waits for nobody: the library would wait for a compositor that takes no more connections, for as
/// long as it takes none.
wl_display* connect() {
  const std::string path = socketPath();
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) return nullptr;
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto* const there = reinterpret_cast<const sockaddr*>(&address);
  if (!socket || ::connect(socket.get(), there, sizeof address) != 0) return nullptr;
  return wl_display_connect_to_fd(socket.release());
}

}  // namespace

Connection::Connection() : display_(connect()) {
  if (display_ == nullptr) return;
  registry_.reset(wl_display_get_registry(get()));
  static constexpr wl_registry_listener listener{
      [](void* self, wl_registry*, std::uint32_t name, const char* interface,
         std::uint32_t version) {
        static_cast<Connection*>(self)->add({name, interface, version});
      },
      [](void* self, wl_registry*, std::uint32_t name) {
        static_cast<Connection*>(self)->remove(name);
      }};
  wl_registry_add_listener(registry_.get(), &listener, this);
  isKnown_ = settle(Clock::now() + patience);
}

Connection::~Connection() = default;

Connection::operator bool() const {
  return display_ != nullptr && isKnown_ && wl_display_get_error(get()) == 0;
}

void Connection::add(Global global) {
  globals_.push_back(std::move(global));
  const Global added = globals_.back();
  if (onOffered) onOffered(added);
}

void Connection::remove(std::uint32_t name) {
  const auto found = std::ranges::find(globals_, name, &Global::name);
  if (found == globals_.end()) return;
  const Global gone = *found;
  globals_.erase(found);
  if (onGone) onGone(gone);
}

bool Connection::offers(std::string_view interface, std::uint32_t version) const {
  return std::ranges::any_of(globals_, [&](const Global& global) {
    return global.interface == interface && global.version >= version;
  });
}

void* Connection::bindFirst(const wl_interface& interface, std::uint32_t version) const {
  const auto found =
      std::ranges::find(globals_, std::string_view(interface.name), &Global::interface);
  return found == globals_.end() ? nullptr : bindGlobal(*found, interface, version);
}

void* Connection::bindGlobal(const Global& global, const wl_interface& interface,
                             std::uint32_t version) const {
  return wl_registry_bind(registry_.get(), global.name, &interface,
                          std::min(global.version, version));
}

bool Connection::flush() const { return display_ != nullptr && wl_display_flush(get()) >= 0; }

bool Connection::dispatch() {
  if (display_ == nullptr) return false;
  auto reading = Reading::something;
  // As much as has come while nobody listened, of which each call reads a part.
  while (reading == Reading::something) reading = read(std::chrono::nanoseconds(0));
  return reading != Reading::failed;
}

bool Connection::wait(const std::function<bool()>& isDone, Clock::time_point deadline) {
  if (display_ == nullptr) return false;
  while (!isDone()) {
    const auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero() || read(left) == Reading::failed) return false;
  }
  return true;
}

bool Connection::settle(Clock::time_point deadline) {
  if (display_ == nullptr) return false;
  bool isDone = false;
  static constexpr wl_callback_listener listener{
      [](void* done, wl_callback*, std::uint32_t) { *static_cast<bool*>(done) = true; }};
  const Proxy<wl_callback> callback(wl_display_sync(get()));
  wl_callback_add_listener(callback.get(), &listener, &isDone);
  return wait([&] { return isDone; }, deadline);
}

/// Reads and hands on what has come, or comes within that time. It has failed where the connection
/// does not stand any more.
Connection::Reading Connection::read(std::chrono::nanoseconds time) const {
  auto* const display = get();
  while (wl_display_prepare_read(display) != 0) {
    if (wl_display_dispatch_pending(display) < 0) return Reading::failed;
    // That may have been what was waited for.
    time = std::chrono::nanoseconds(0);
  }
  // What does not fit into the socket is sent with the next call. That nobody takes it any more
  // counts once all has been read: only then does the library know of the end.
  if (wl_display_flush(display) < 0 && errno != EAGAIN && errno != EPIPE) {
    wl_display_cancel_read(display);
    return Reading::failed;
  }
  pollfd readable{descriptor(), POLLIN, 0};
  constexpr auto perSecond = 1'000'000'000;
  const timespec timeout{time.count() / perSecond, time.count() % perSecond};
  if (::ppoll(&readable, 1, &timeout, nullptr) <= 0) {
    wl_display_cancel_read(display);
    return Reading::nothing;
  }
  const bool isRead =
      wl_display_read_events(display) == 0 && wl_display_dispatch_pending(display) >= 0;
  if (!isRead) return Reading::failed;
  // What listeners have answered goes out now: there may be nothing more to read for a long time.
  wl_display_flush(display);
  return Reading::something;
}

}  // namespace vesk::wayland::server

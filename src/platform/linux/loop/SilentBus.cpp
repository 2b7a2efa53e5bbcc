#include "platform/linux/loop/SilentBus.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Descriptor.h"

namespace vesk::loop {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

/// Bytes that D-Bus has no other way to write stand as %, and two digits.
std::string unescaped(const std::string& value) {
  std::string bytes;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '%' || i + 2 >= value.size()) {
      bytes += value[i];
      continue;
    }
    bytes += static_cast<char>(std::strtoul(value.substr(i + 1, 2).c_str(), nullptr, 16));
    i += 2;
  }
  return bytes;
}

/// The name of the socket as the system wants it: one that no file stands for begins with a zero.
std::optional<std::string> socketName(const std::string& address) {
  constexpr std::string_view transport = "unix:";
  if (!address.starts_with(transport)) return std::nullopt;
  for (const auto& entry : split(address.substr(transport.size()), ',')) {
    const std::size_t equals = std::min(entry.find('='), entry.size());
    const std::string key = entry.substr(0, equals);
    const std::string value = unescaped(entry.substr(std::min(equals + 1, entry.size())));
    if (key == "path") return value;
    if (key == "abstract") return std::string(1, '\0') + value;
    if (key == "runtime") return environment("XDG_RUNTIME_DIR") + "/bus";
  }
  return std::nullopt;
}

/// In the format of D-Bus's messages, with the least significant byte first.
class HelloMessage {
 public:
  HelloMessage() {
    bytes_ = std::string("l\1\0\1\0\0\0\0\1\0\0\0\0\0\0\0", fixedPart);
    constexpr char path = 1;
    constexpr char interface = 2;
    constexpr char member = 3;
    constexpr char destination = 6;
    addField(path, 'o', "/org/freedesktop/DBus");
    addField(interface, 's', "org.freedesktop.DBus");
    addField(member, 's', "Hello");
    addField(destination, 's', "org.freedesktop.DBus");
    bytes_[fixedPart - 4] = static_cast<char>(bytes_.size() - fixedPart);
    align();
  }

  const std::string& bytes() const { return bytes_; }

 private:
  static constexpr std::size_t fixedPart = 16;

  void align() { bytes_.resize((bytes_.size() + 7) / 8 * 8); }

  void addField(char code, char type, std::string_view text) {
    align();
    bytes_ += {code, 1, type, '\0', static_cast<char>(text.size()), '\0', '\0', '\0'};
    bytes_ += text;
    bytes_ += '\0';
  }

  std::string bytes_;
};

/// One greeting. What is read and written never waits beyond the time that there is for all of it.
class Greeting {
 public:
  enum class Outcome { notThere, answered, silent };

  explicit Greeting(steady_clock::time_point end) : end_(end) {}

  Outcome with(const std::string& name) {
    if (const auto failure = connect(name)) return *failure;
    if (!send(std::string(1, '\0') + "AUTH EXTERNAL " + userInHex() + "\r\n")) return outcome_;
    const std::string words = receive("\r\n");
    if (!words.starts_with("OK")) return outcome_;
    if (!send("BEGIN\r\n" + HelloMessage().bytes())) return outcome_;
    receive("");
    return outcome_;
  }

 private:
  static std::string userInHex() {
    std::string hex;
    for (const char digit : std::to_string(::getuid())) hex += std::string("3") + digit;
    return hex;
  }

  std::optional<Outcome> connect(const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path) return Outcome::notThere;
    std::memcpy(address.sun_path, name.data(), name.size());
    const auto size = static_cast<socklen_t>(
        offsetof(sockaddr_un, sun_path) + name.size() +
        (name.starts_with('\0') ? 0 : 1));  // a file's name has an end, and is shown with it
    socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    while (::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0) {
      // Too many wait already for it to take their connections.
      if (errno != EAGAIN) return Outcome::notThere;
      if (left() == 0) return Outcome::silent;
      ::poll(nullptr, 0, std::min(left(), 10));
    }
    return std::nullopt;
  }

  /// Whether all of it was taken. It is less than any socket has room for.
  bool send(const std::string& bytes) {
    const auto sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    outcome_ = Outcome::answered;  // by its end, if so
    return sent == static_cast<ssize_t>(bytes.size());
  }

  /// What comes up to that end of it, or at all.
  std::string receive(std::string_view end) {
    std::string bytes;
    while (bytes.empty() || !bytes.ends_with(end)) {
      pollfd entry{socket_.get(), POLLIN, 0};
      const int ready = ::poll(&entry, 1, left());
      if (ready < 0 && errno == EINTR) continue;
      if (ready == 0) outcome_ = Outcome::silent;
      char buffer[512];
      const auto count = ready > 0 ? ::recv(socket_.get(), buffer, sizeof buffer, 0) : 0;
      if (count <= 0) break;
      bytes.append(buffer, static_cast<std::size_t>(count));
    }
    return bytes;
  }

  int left() const {
    const auto rest = std::chrono::ceil<milliseconds>(end_ - steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(rest.count(), 0));
  }

  steady_clock::time_point end_;
  Descriptor socket_;
  Outcome outcome_ = Outcome::answered;
};

}  // namespace

bool isSilentBus(const std::string& address, milliseconds patience) {
  const auto end = steady_clock::now() + patience;
  for (const auto& each : split(address, ';')) {
    const auto name = socketName(each);
    if (!name) return false;
    const auto outcome = Greeting(end).with(*name);
    // The next one counts only where this one cannot be reached.
    if (outcome != Greeting::Outcome::notThere) return outcome == Greeting::Outcome::silent;
  }
  return false;
}

void leaveSilentBus() {
  // A hundred times what a bus takes that has its machine for itself.
  constexpr milliseconds patience(500);
  constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";
  const std::string given = environment(variable);
  if (isSilentBus(given.empty() ? "unix:runtime=yes" : given, patience)) {
    // What can be reached by nobody, at once.
    ::setenv(variable, "unix:path=/dev/null", 1);
  }
}

}  // namespace vesk::loop

#include "support/UnixListener.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <system_error>

#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

bool isReadable(int descriptor, std::chrono::milliseconds wait) {
  pollfd entry{descriptor, POLLIN, 0};
  return ::poll(&entry, 1, static_cast<int>(wait.count())) == 1;
}

}  // namespace

const std::chrono::seconds longestWait(chosenSeconds(20));

Bytes bytes(std::initializer_list<int> values) {
  Bytes result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

Bytes textBytes(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

void UnixPeer::write(ByteView data) const {
  while (!data.empty()) {
    const auto count = unixSocket::write(socket_.get(), data);
    if (count < 0) throw std::runtime_error("the program's end is closed");
    if (count == unixSocket::noRoom) unixSocket::awaitRoom(socket_.get(), longestWait);
    data = data.subspan(static_cast<std::size_t>(count));
  }
}

Bytes UnixPeer::read(std::size_t count) const {
  Bytes result(count);
  std::size_t done = 0;
  while (done < count) {
    if (!isReadable(socket_.get(), longestWait)) throw std::runtime_error("nothing came to read");
    const auto got = ::read(socket_.get(), result.data() + done, count - done);
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  result.resize(done);
  return result;
}

std::optional<Frame> UnixPeer::readFrame() const {
  return vesk::readFrame([this](std::span<std::byte> buffer) -> std::ptrdiff_t {
    const Bytes got = read(buffer.size());
    std::ranges::copy(got, buffer.begin());
    return static_cast<std::ptrdiff_t>(got.size());
  });
}

bool UnixPeer::isSilent() const {
  std::byte byte{};
  return !isReadable(socket_.get(), std::chrono::milliseconds(50)) ||
         ::recv(socket_.get(), &byte, 1, MSG_PEEK) <= 0;
}

UnixListener::UnixListener(const std::filesystem::path& path)
    : path_(path), socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = path.string();
  if (name.size() >= sizeof address.sun_path) throw std::runtime_error("too long: " + name);
  std::ranges::copy(name, address.sun_path);
  if (::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(socket_.get(), 8) != 0) {
    throw std::runtime_error("cannot listen at " + name);
  }
}

UnixListener::~UnixListener() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

UnixPeer UnixListener::accept() const {
  if (!isReadable(socket_.get(), longestWait)) throw std::runtime_error("nobody connected");
  return UnixPeer(Descriptor(::accept(socket_.get(), nullptr, nullptr)));
}

}  // namespace vesk::testing

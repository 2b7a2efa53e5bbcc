#include "platform/UnixSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vesk::unixSocket {
namespace {

#ifdef SO_NOSIGPIPE
constexpr int withoutSignal = 0;  // the option does it for the whole socket, on every version
#else
constexpr int withoutSignal = MSG_NOSIGNAL;
#endif

sockaddr_un addressOf(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy_n(path.begin(), std::min(path.size(), maxPathLength), address.sun_path);
  return address;
}

}  // namespace

Descriptor open() {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  if (!socket) return socket;
  ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
#ifdef SO_NOSIGPIPE
  const int on = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
  return socket;
}

bool connect(const Descriptor& socket, std::string_view path) {
  const sockaddr_un address = addressOf(path);
  return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::ptrdiff_t read(int socket, std::span<std::byte> buffer) {
  return ::read(socket, buffer.data(), buffer.size());
}

std::ptrdiff_t write(int socket, std::span<const std::byte> bytes) {
  const auto written = ::send(socket, bytes.data(), bytes.size(), withoutSignal | MSG_DONTWAIT);
  if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return noRoom;
  return written == 0 ? -1 : written;
}

void awaitRoom(int socket, std::chrono::milliseconds time) {
  pollfd descriptor{socket, POLLOUT, 0};
  ::poll(&descriptor, 1, static_cast<int>(time.count()));
}

}  // namespace vesk::unixSocket

#include "agent/Listener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/UnixSocket.h"

namespace vesk::agent {
namespace {

/// Programs that come while one is served wait here.
constexpr int waitingPrograms = 16;

constexpr mode_t everybody = 0666;

[[noreturn]] void fail(const std::string& path, int error) {
  std::string text = "cannot listen at '" + path + "': " + std::generic_category().message(error);
  if (error == ENOENT) text = "cannot listen at '" + path + "': its folder does not exist";
  if (error == EACCES || error == EPERM || error == EROFS) {
    text += "; start the agent with sudo, or choose a place with --socket";
  }
  throw std::runtime_error(text);
}

int bindTo(const Descriptor& socket, const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy_n(path.begin(), std::min(path.size(), unixSocket::maxPathLength), address.sun_path);
  return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void makeNonBlocking(const Descriptor& descriptor) {
  ::fcntl(descriptor.get(), F_SETFL, ::fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

}  // namespace

Listener::Listener(std::string path) : path_(std::move(path)), socket_(unixSocket::open()) {
  if (!socket_) fail(path_, errno);
  bind();
  struct stat status {};
  if (::stat(path_.c_str(), &status) == 0) {
    device_ = status.st_dev;
    file_ = status.st_ino;
  }
  if (::chmod(path_.c_str(), everybody) != 0 || ::listen(socket_.get(), waitingPrograms) != 0) {
    const int error = errno;
    ::unlink(path_.c_str());
    fail(path_, error);
  }
  makeNonBlocking(socket_);
}

Listener::~Listener() {
  struct stat status {};
  const bool isOurs =
      ::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == file_;
  if (isOurs) ::unlink(path_.c_str());
}

Descriptor Listener::accept() const {
  Descriptor program(::accept(socket_.get(), nullptr, nullptr));
  if (!program) return program;
  ::fcntl(program.get(), F_SETFD, FD_CLOEXEC);
  makeNonBlocking(program);
  return program;
}

void Listener::bind() {
  if (bindTo(socket_, path_) == 0) return;
  if (errno != EADDRINUSE) fail(path_, errno);
  removeStaleSocket();
  if (bindTo(socket_, path_) != 0) fail(path_, errno);
}

void Listener::removeStaleSocket() const {
  struct stat status {};
  if (::lstat(path_.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode)) {
    throw std::runtime_error("'" + path_ + "' is in the way: it is not a socket");
  }
  const Descriptor probe = unixSocket::open();
  if (!probe) fail(path_, errno);
  // Non-blocking, since a connection to an agent with a full queue would wait for its turn.
  makeNonBlocking(probe);
  if (unixSocket::connect(probe, path_) || errno == EAGAIN || errno == EINPROGRESS) {
    throw std::runtime_error("another agent listens at '" + path_ + "' already");
  }
  if (errno != ECONNREFUSED && errno != ENOENT) fail(path_, errno);
  if (::unlink(path_.c_str()) != 0 && errno != ENOENT) fail(path_, errno);
}

}  // namespace vesk::agent

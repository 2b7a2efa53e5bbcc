#include "agent/Connection.h"

#include <cerrno>

#include "platform/UnixSocket.h"

namespace vesk::agent {
namespace {

bool isTemporary(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

Connection::State Connection::read() {
  constexpr std::size_t pieceSize = std::size_t{256} * 1024;
  Bytes piece(pieceSize);
  const auto count = unixSocket::read(socket_.get(), piece);
  if (count > 0) {
    assembler_.append(ByteView(piece).first(static_cast<std::size_t>(count)));
    return State::open;
  }
  return count < 0 && isTemporary(errno) ? State::open : State::ended;
}

void Connection::send(ByteView bytes) {
  outgoing_.erase(outgoing_.begin(), outgoing_.begin() + static_cast<std::ptrdiff_t>(sent_));
  sent_ = 0;
  outgoing_.insert(outgoing_.end(), bytes.begin(), bytes.end());
  write();
}

void Connection::write() {
  while (!allSent()) {
    const auto count = unixSocket::write(socket_.get(), ByteView(outgoing_).subspan(sent_));
    if (count > 0) {
      sent_ += static_cast<std::size_t>(count);
      continue;
    }
    if (count == unixSocket::noRoom || isTemporary(errno)) return;
    // The program is gone. What it sent before may still be there to read, so only this half ends.
    break;
  }
  outgoing_.clear();
  sent_ = 0;
}

}  // namespace vesk::agent

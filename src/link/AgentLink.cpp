#include "link/AgentLink.h"

#include <exception>
#include <utility>

#include "link/Log.h"
#include "platform/UnixSocket.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;

constexpr auto waitAfterFailure = 2s;
constexpr auto waitAfterLoss = 1s;

/// How long a sender waits before it looks whether it still shall.
constexpr auto untilNextLook = 20ms;

}  // namespace

AgentLink::AgentLink(Queues& queues, Clock& clock, std::string_view path)
    : queues_(queues),
      clock_(clock),
      path_(path),
      readQueue_(queues.makeSerialQueue("com.vesk.screen.link")) {}

void AgentLink::start() {
  readQueue_->async([weak = weak_from_this()] {
    if (const auto link = weak.lock()) link->runForever();
  });
}

// Reading

void AgentLink::runForever() {
  for (;;) {
    Descriptor socket = unixSocket::open();
    if (!socket || !unixSocket::connect(socket, path_)) {
      socket.close();
      clock_.sleep(waitAfterFailure);
      continue;
    }
    serveConnection(std::move(socket));
    clock_.sleep(waitAfterLoss);
  }
}

void AgentLink::serveConnection(Descriptor socket) {
  setConnected(socket.get());
  Log::info("Connected to the Vesk agent.");
  if (onConnected) onConnected();

  const auto readSome = [&](auto buffer) { return unixSocket::read(socket.get(), buffer); };
  while (const auto frame = readFrame(readSome)) dispatch(*frame);

  // The loss is recorded before the socket is closed: a write that has begun ends first, and no
  // later one can reach a descriptor that the system has given to something else.
  setDisconnected();
  socket.close();
  Log::info("Lost the Vesk agent; reconnecting.");
  if (onDisconnected) onDisconnected();
}

void AgentLink::dispatch(const Frame& frame) const {
  const auto kind = frameKind(frame.kind);
  if (kind == Kind::control) {
    const auto message = Message::parse(frame.payload);
    if (message && onControl) onControl(*message);
  } else if (kind == Kind::input) {
    if (onInput) onInput(frame.payload);
  }
}

void AgentLink::setConnected(int descriptor) {
  const std::lock_guard lock(writeLock_);
  fd_ = descriptor;
  connection_ = Connection{++connections_};
}

void AgentLink::setDisconnected() {
  const std::lock_guard lock(writeLock_);
  fd_ = -1;
  connection_ = Connection::none;
  frame_.clear();
  waiting_.clear();
  waitingBytes_ = 0;
}

// Writing

void AgentLink::sendControl(const Message& message, Connection to) {
  const auto text = message.serialise();
  if (!text) return;
  const std::lock_guard lock(writeLock_);
  if (to == Connection::none || to != connection_) return;
  if (waitingBytes_ + text->size() > mostWaiting) return;
  waiting_.push_back(frameBytes(Kind::control, std::as_bytes(std::span(*text))));
  waitingBytes_ += waiting_.back().size();
  if (!sendWaiting()) finishLater();
}

bool AgentLink::sendVideo(ByteView accessUnit, Ticks duration, Connection to) {
  Bytes frame = frameBytes(Kind::video, videoPayload(accessUnit, duration));
  for (bool begun = false;;) {
    int socket = -1;
    {
      const std::lock_guard lock(writeLock_);
      if (to == Connection::none || to != connection_) return begun;
      begun = begun || (sendWaiting() && begin(frame));
      if (begun && finish()) return true;
      // What an agent has of a frame it must get whole, however late it reads on.
      if (patience_ == Patience::drops) {
        if (begun) finishLater();
        return begun;
      }
      socket = fd_;
    }
    unixSocket::awaitRoom(socket, untilNextLook);
  }
}

/// Makes `frame` the next one on the wire, and takes it away then. False, with everything as it
/// was, while there is no room for a single byte of it.
bool AgentLink::begin(Bytes& frame) {
  if (!finish()) return false;
  frame_.swap(frame);
  written_ = 0;
  if (finish() || written_ > 0) return true;
  frame_.swap(frame);
  frame_.clear();
  return false;
}

/// Whether the frame that was begun is out. A connection that is broken takes everything: the
/// reader will find out and clean up.
bool AgentLink::finish() {
  while (written_ < frame_.size()) {
    const auto result = unixSocket::write(fd_, ByteView(frame_).subspan(written_));
    if (result == unixSocket::noRoom) return false;
    written_ = result < 0 ? frame_.size() : written_ + static_cast<std::size_t>(result);
  }
  frame_.clear();
  written_ = 0;
  return true;
}

/// Whether every message that waited is out.
bool AgentLink::sendWaiting() {
  for (; !waiting_.empty(); waiting_.pop_front()) {
    const auto size = waiting_.front().size();
    if (!begin(waiting_.front())) return false;
    waitingBytes_ -= size;
  }
  return finish();
}

/// Without a thread to wait with, the next message or picture takes along what waits.
void AgentLink::finishLater() try {
  if (writeQueue_ != nullptr) return;
  writeQueue_ = queues_.makeSerialQueue("com.vesk.screen.write");
  writeQueue_->async([weak = weak_from_this()] {
    if (const auto link = weak.lock()) link->finishWhenRead();
  });
} catch (const std::exception&) {
}

void AgentLink::finishWhenRead() {
  for (std::unique_ptr<SerialQueue> done; done == nullptr;) {
    int socket = -1;
    {
      const std::lock_guard lock(writeLock_);
      if (fd_ < 0 || sendWaiting()) done = std::move(writeQueue_);
      socket = fd_;
    }
    if (done == nullptr) unixSocket::awaitRoom(socket, untilNextLook * 10);
  }
}

}  // namespace vesk

#include "link/AgentLink.h"

#include <utility>

#include "link/Log.h"
#include "platform/UnixSocket.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;

constexpr auto waitAfterFailure = 2s;
constexpr auto waitAfterLoss = 1s;

}  // namespace

AgentLink::AgentLink(Queues& queues, Clock& clock, std::string_view path)
    : clock_(clock), path_(path), readQueue_(queues.makeSerialQueue("com.vesk.screen.link")) {}

void AgentLink::start() {
  readQueue_->async([weak = weak_from_this()] {
    if (const auto link = weak.lock()) link->runForever();
  });
}

void AgentLink::sendControl(const Message& message) {
  if (const auto text = message.serialise()) send(Kind::control, std::as_bytes(std::span(*text)));
}

void AgentLink::sendVideo(ByteView accessUnit, Ticks duration) {
  send(Kind::video, videoPayload(accessUnit, duration));
}

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
  setDescriptor(socket.get());
  Log::info("Connected to the Vesk agent.");
  if (onConnected) onConnected();

  const auto readSome = [&](auto buffer) { return unixSocket::read(socket.get(), buffer); };
  while (const auto frame = readFrame(readSome)) dispatch(*frame);

  // The loss is recorded before the socket is closed: a write that has begun ends first, and no
  // later one can reach a descriptor that the system has given to something else.
  setDescriptor(-1);
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

void AgentLink::setDescriptor(int descriptor) {
  const std::lock_guard lock(writeLock_);
  fd_ = descriptor;
}

void AgentLink::send(Kind kind, ByteView payload) {
  const std::lock_guard lock(writeLock_);
  if (fd_ < 0) return;

  const Bytes frame = frameBytes(kind, payload);
  ByteView rest = frame;
  while (!rest.empty()) {
    const auto written = unixSocket::write(fd_, rest);
    // The reader will find the connection broken and clean up; here the frame is given up.
    if (written <= 0) return;
    rest = rest.subspan(static_cast<std::size_t>(written));
  }
}

}  // namespace vesk

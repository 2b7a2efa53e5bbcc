#pragma once

#include <optional>

#include "agent/FrameAssembler.h"
#include "link/Frame.h"
#include "platform/Descriptor.h"

namespace vesk::agent {

/// One program's connection. Nothing in it waits: what the program does not take yet is kept until
/// it does.
///
/// Thread: one, which polls `descriptor` for what `wants…` tell. Owns: the socket, the bytes of an
/// unfinished frame and those not yet written. Fails: `read` tells that the program is gone; what
/// cannot be written to a program that is gone is dropped.
class Connection {
 public:
  /// `socket` is in non-blocking mode.
  explicit Connection(Descriptor socket) : socket_(std::move(socket)) {}

  int descriptor() const { return socket_.get(); }
  bool wantsToRead() const { return isReading_; }
  bool wantsToWrite() const { return !allSent(); }

  enum class State { open, ended };

  /// Takes what has come, or a part of it so that the caller's other work gets its turn.
  State read();

  /// The next frame of what was read.
  std::optional<Frame> nextFrame() { return assembler_.next(); }

  /// A length that no frame has; everything behind it is lost.
  std::optional<std::size_t> brokenBy() const { return assembler_.brokenBy(); }

  /// How many bytes of an unfinished frame were read.
  std::size_t unfinished() const { return assembler_.pending(); }

  /// Writes as much as the program takes now, and keeps the rest.
  void send(ByteView bytes);
  void write();
  bool allSent() const { return sent_ == outgoing_.size(); }

  void stopReading() { isReading_ = false; }
  void startReading() { isReading_ = true; }

 private:
  Descriptor socket_;
  FrameAssembler assembler_;
  Bytes outgoing_;
  std::size_t sent_ = 0;  ///< how much of `outgoing_` the program has taken
  bool isReading_ = true;
};

}  // namespace vesk::agent

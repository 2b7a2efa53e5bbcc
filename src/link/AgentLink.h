#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "link/Frame.h"
#include "link/Message.h"
#include "platform/Clock.h"
#include "platform/Descriptor.h"
#include "platform/Queues.h"

namespace vesk {

/// The connection to the privileged agent: connects, connects again for the life of the process,
/// hands on what it reads, and writes whole frames. What the messages mean is not its business.
///
/// What is meant for the agent of one connection is never sent on another. Messages wait for an
/// agent that does not read, up to a bound, and never make their sender wait; video makes its
/// sender wait, as long as `Patience` says so.
///
/// Thread: `start` once, after the callbacks are set; everything else from any thread, at the same
/// time. Owns: the socket and the reader's queue. Once its loop runs, the loop owns the link for
/// good. Fails: silently, as a dropped frame or another attempt to connect.
/// Calls back: on the reader's thread; a callback that blocks holds up the frames behind it.
class AgentLink : public std::enable_shared_from_this<AgentLink> {
 public:
  using Kind = FrameKind;

  /// One connection after the other, counted from 1; `none` while there is none.
  enum class Connection : std::uint64_t { none = 0 };

  /// Whether video waits for an agent that does not read, or is dropped.
  enum class Patience { waits, drops };

  static constexpr std::string_view socketPath = "/var/run/com.vesk.tovarin.screen.sock";

  /// Bytes of messages that wait for an agent that does not read; further ones are dropped.
  static constexpr std::size_t mostWaiting = 2U << 20U;

  /// `queues` and `clock` outlive the link. Only tests connect to another path.
  AgentLink(Queues& queues, Clock& clock, std::string_view path = socketPath);

  std::function<void(const Message&)> onControl;
  std::function<void(ByteView)> onInput;
  std::function<void()> onConnected;
  std::function<void()> onDisconnected;

  /// Looked at without the lock, so true only for the moment of looking.
  bool isConnected() const { return fd_ >= 0; }

  /// The present connection. On the reader's thread it stays what it is within a callback.
  Connection connection() const { return connection_; }

  void start();

  /// A message that JSON cannot carry is dropped.
  void sendControl(const Message& message) { sendControl(message, connection()); }
  void sendControl(const Message& message, Connection to);

  /// Whether the agent gets the access unit; false where it was dropped.
  bool sendVideo(ByteView accessUnit, Ticks duration) {
    return sendVideo(accessUnit, duration, connection());
  }
  bool sendVideo(ByteView accessUnit, Ticks duration, Connection to);

  /// A sender that waits at this moment goes on at once when patience ends.
  void setPatience(Patience patience) { patience_ = patience; }

 private:
  void runForever();
  void serveConnection(Descriptor socket);
  void dispatch(const Frame& frame) const;
  void setConnected(int descriptor);
  void setDisconnected();

  // Under `writeLock_`, which nobody holds while waiting for the agent.
  bool begin(Bytes& frame);
  bool finish();
  bool sendWaiting();
  void finishLater();

  void finishWhenRead();

  Queues& queues_;
  Clock& clock_;
  std::string path_;
  std::atomic<int> fd_ = -1;                              ///< changed under the lock only
  std::atomic<Connection> connection_{Connection::none};  ///< changed under the lock only
  std::uint64_t connections_ = 0;
  std::atomic<Patience> patience_ = Patience::waits;

  std::mutex writeLock_;
  Bytes frame_;                ///< the one of which a part is on the wire
  std::size_t written_ = 0;    ///< how much of it
  std::deque<Bytes> waiting_;  ///< messages of which nothing is on the wire
  std::size_t waitingBytes_ = 0;

  /// There while something is on its way to an agent that does not read; goes on when it reads.
  std::unique_ptr<SerialQueue> writeQueue_;
  std::unique_ptr<SerialQueue> readQueue_;
};

}  // namespace vesk

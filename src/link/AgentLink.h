#pragma once

#include <atomic>
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
/// Thread: `start` once, after the callbacks are set; the sends from any thread, at the same time.
/// Owns: the socket and the reader's queue. Once its loop runs, the loop owns the link for good.
/// Fails: silently, as a dropped frame or another attempt to connect.
/// Calls back: on the reader's thread; a callback that blocks holds up the frames behind it.
class AgentLink : public std::enable_shared_from_this<AgentLink> {
 public:
  using Kind = FrameKind;

  static constexpr std::string_view socketPath = "/var/run/com.vesk.tovarin.screen.sock";

  /// `queues` and `clock` outlive the link. Only tests connect to another path.
  AgentLink(Queues& queues, Clock& clock, std::string_view path = socketPath);

  std::function<void(const Message&)> onControl;
  std::function<void(ByteView)> onInput;
  std::function<void()> onConnected;
  std::function<void()> onDisconnected;

  /// Looked at without the lock, so true only for the moment of looking.
  bool isConnected() const { return fd_ >= 0; }

  void start();

  /// A message that JSON cannot carry is dropped.
  void sendControl(const Message& message);
  void sendVideo(ByteView accessUnit, Ticks duration);

 private:
  void runForever();
  void serveConnection(Descriptor socket);
  void dispatch(const Frame& frame) const;
  void setDescriptor(int descriptor);
  void send(Kind kind, ByteView payload);

  Clock& clock_;
  std::string path_;
  std::atomic<int> fd_ = -1;  ///< changed under the lock only
  std::mutex writeLock_;
  std::unique_ptr<SerialQueue> readQueue_;
};

}  // namespace vesk

#pragma once

#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "link/Frame.h"
#include "platform/Descriptor.h"

namespace vesk::testing {

/// Far beyond what anything here takes; reached only when something is wrong. The environment
/// variable VESK_PATIENCE sets another number.
extern const std::chrono::seconds longestWait;

/// Bytes from numbers, for tables of expected bytes.
Bytes bytes(std::initializer_list<int> values);

/// The bytes of a text.
Bytes textBytes(std::string_view text);

/// The agent's end of one connection. A read that waits longer than `longestWait` throws.
class UnixPeer {
 public:
  explicit UnixPeer(Descriptor socket) : socket_(std::move(socket)) {}

  void write(ByteView bytes) const;

  /// Exactly `count` bytes; fewer when the other side has closed before.
  Bytes read(std::size_t count) const;

  /// One whole frame, or nothing when the other side has closed.
  std::optional<Frame> readFrame() const;

  /// Nothing but the end of the stream comes within a moment long enough for anything sent before.
  bool isSilent() const;

  void close() { socket_.close(); }

 private:
  Descriptor socket_;
};

/// A listening socket in the Unix domain, gone from the file system at the end of its life.
class UnixListener {
 public:
  explicit UnixListener(const std::filesystem::path& path);
  ~UnixListener();
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;

  /// Waits for the next connection. Throws after `longestWait`.
  UnixPeer accept() const;

 private:
  std::filesystem::path path_;
  Descriptor socket_;
};

}  // namespace vesk::testing

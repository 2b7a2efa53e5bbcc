#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <string_view>

#include "platform/Descriptor.h"

/// Stream sockets of the Unix domain. Reading waits for bytes, writing never waits for room.
/// Thread: any; reading and writing may go on in two threads at once.
namespace vesk::unixSocket {

/// The longest path that an address carries; a longer one is cut to this many bytes.
inline constexpr std::size_t maxPathLength = 103;

/// A new, unconnected socket on which writing to a closed peer is an error and never a signal; it
/// is not inherited by child processes. Owns nothing when the system has none to give.
Descriptor open();

/// Connects to the socket at `path`. False when nobody listens there.
bool connect(const Descriptor& socket, std::string_view path);

/// One read: the number of bytes put into `buffer`, 0 at the end of the stream, negative on any
/// error.
std::ptrdiff_t read(int socket, std::span<std::byte> buffer);

/// What `write` returns when the other side must read before anything can be taken.
inline constexpr std::ptrdiff_t noRoom = 0;

/// One write: the number of bytes taken from `bytes`, which are not none, or `noRoom`, or less than
/// that on any error.
std::ptrdiff_t write(int socket, std::span<const std::byte> bytes);

/// Waits until there is room to write, the connection is broken, or the time is over.
void awaitRoom(int socket, std::chrono::milliseconds time);

}  // namespace vesk::unixSocket

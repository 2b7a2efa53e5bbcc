#pragma once

#include <spa/pod/builder.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/portal/screen/RemotePicture.h"

namespace vesk::portal::screen {

/// What is said of a stream's pictures while they are negotiated, in the service's own form.
///
/// Thread: one at a time. Owns: the memory of what it says.
class StreamParameters {
 public:
  using Parameters = std::span<const spa_pod*>;

  StreamParameters();

  /// The pictures that can be read, at most so many in a second: the desktop need not make more.
  Parameters formats(int framesPerSecond);

  /// Memory that can be read, and what else is to come along with each picture.
  Parameters buffers(bool withPointer);

 private:
  template <typename Write>
  void object(std::uint32_t type, std::uint32_t id, Write write);
  template <typename Write>
  void choice(std::uint32_t key, std::uint32_t kind, Write write);
  void identifier(std::uint32_t key, std::uint32_t value);
  void metadata(std::uint32_t type, std::int32_t usual, std::int32_t least, std::int32_t most);

  std::array<std::uint8_t, 2048> memory_;
  spa_pod_builder builder_{};
  std::array<const spa_pod*, 4> said_{};
  std::size_t count_ = 0;
};

/// How the pictures lie that were agreed on; nothing where nobody can read them.
std::optional<PictureLayout> layoutOf(const spa_pod& format);

}  // namespace vesk::portal::screen

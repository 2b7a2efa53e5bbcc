#include "platform/linux/portal/screen/bufferContents.h"

#include <spa/buffer/meta.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace vesk::portal::screen {
namespace {

std::int32_t bounded(std::uint32_t value) {
  return static_cast<std::int32_t>(std::min(value, static_cast<std::uint32_t>(farthest)));
}

/// Copies, for the memory may change while it is looked at.
template <typename Value>
std::vector<Value> metadata(const spa_buffer& buffer, std::uint32_t type) {
  const auto* const found = spa_buffer_find_meta(&buffer, type);
  if (found == nullptr || found->data == nullptr) return {};
  std::vector<Value> values(found->size / sizeof(Value));
  if (!values.empty()) std::memcpy(values.data(), found->data, values.size() * sizeof(Value));
  return values;
}

/// How much of its memory there is. To read behind the end of a file, which may be shorter than was
/// announced, would end this program.
std::size_t bytesThere(const spa_data& data) {
  if (data.type != SPA_DATA_MemFd) return data.maxsize;
  struct stat file {};
  if (::fstat(static_cast<int>(data.fd), &file) != 0) return 0;
  const auto size = static_cast<std::uint64_t>(file.st_size);
  return std::min<std::uint64_t>(data.maxsize,
                                 size - std::min<std::uint64_t>(size, data.mapoffset));
}

bool isSpoilt(const spa_buffer& buffer) {
  const auto headers = metadata<spa_meta_header>(buffer, SPA_META_Header);
  return !headers.empty() && (headers.front().flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0;
}

/// Nothing where the desktop does not tell.
std::optional<std::vector<PixelRect>> damageIn(const spa_buffer& buffer) {
  std::vector<PixelRect> damage;
  for (const auto& each : metadata<spa_meta_region>(buffer, SPA_META_VideoDamage)) {
    // The list ends where it says so.
    if (!spa_meta_region_is_valid(&each)) break;
    const auto& [position, size] = each.region;
    damage.push_back({std::clamp(position.x, -farthest, farthest),
                      std::clamp(position.y, -farthest, farthest), bounded(size.width),
                      bounded(size.height)});
  }
  if (damage.empty()) return std::nullopt;
  return damage;
}

}  // namespace

std::optional<RemotePicture> pictureIn(const spa_buffer& buffer, const PictureLayout& layout) {
  if (buffer.n_datas == 0 || isSpoilt(buffer)) return std::nullopt;
  const spa_data& data = buffer.datas[0];
  if (data.data == nullptr || data.chunk == nullptr) return std::nullopt;
  const spa_chunk chunk = *data.chunk;
  const auto flags = static_cast<std::uint32_t>(chunk.flags);
  const bool isEmpty = chunk.size == 0 || (flags & SPA_CHUNK_FLAG_CORRUPTED) != 0;
  if (isEmpty || chunk.stride < 0) return std::nullopt;
  const auto row = static_cast<std::size_t>(layout.size.width) * bytesPerPixel;
  const auto stride = chunk.stride == 0 ? row : static_cast<std::size_t>(chunk.stride);
  const auto needed = stride * (static_cast<std::size_t>(layout.size.height) - 1) + row;
  const auto there = bytesThere(data);
  if (stride < row || chunk.offset > there || there - chunk.offset < needed) return std::nullopt;
  return RemotePicture{layout, static_cast<const std::uint8_t*>(data.data) + chunk.offset,
                       static_cast<std::ptrdiff_t>(stride), damageIn(buffer)};
}

std::optional<PointerNews> pointerIn(const spa_buffer& buffer) {
  const auto* const found = spa_buffer_find_meta(&buffer, SPA_META_Cursor);
  if (found == nullptr || found->data == nullptr) return std::nullopt;
  return pointerNews({static_cast<const std::byte*>(found->data), found->size});
}

}  // namespace vesk::portal::screen

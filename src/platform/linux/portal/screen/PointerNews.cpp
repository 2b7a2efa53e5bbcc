#include "platform/linux/portal/screen/PointerNews.h"

#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include <cstring>

#include "platform/linux/portal/screen/RemotePicture.h"

namespace vesk::portal::screen {
namespace {

/// Nobody's pointer is larger.
constexpr std::uint32_t largestEdge = 1024;

/// A copy, for the memory may change while it is looked at.
template <typename Value>
std::optional<Value> read(std::span<const std::byte> bytes, std::size_t offset) {
  if (offset > bytes.size() || bytes.size() - offset < sizeof(Value)) return std::nullopt;
  Value value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

bool isNear(const spa_point& point) {
  const auto isNearEnough = [](std::int32_t each) { return each >= -farthest && each <= farthest; };
  return isNearEnough(point.x) && isNearEnough(point.y);
}

bool hasRedFirst(std::uint32_t format) { return format == SPA_VIDEO_FORMAT_RGBA; }

bool canRead(std::uint32_t format) {
  return hasRedFirst(format) || format == SPA_VIDEO_FORMAT_BGRA;
}

std::uint32_t withRedAndBlueChanged(std::uint32_t pixel) {
  return (pixel & 0xff00ff00U) | (pixel & 0xffU) << 16U | (pixel >> 16U & 0xffU);
}

/// The pixels of a bitmap, `bytes` being all from its description on.
std::optional<std::vector<std::uint32_t>> pixelsOf(const spa_meta_bitmap& bitmap,
                                                   std::span<const std::byte> bytes) {
  const auto [width, height] = bitmap.size;
  if (!canRead(bitmap.format) || width > largestEdge || height > largestEdge) return std::nullopt;
  const auto row = width * bytesPerPixel;
  if (bitmap.stride < 0 || static_cast<std::size_t>(bitmap.stride) < row) return std::nullopt;
  const auto stride = static_cast<std::size_t>(bitmap.stride);
  if (bitmap.offset > bytes.size()) return std::nullopt;
  const auto given = bytes.subspan(bitmap.offset);
  if (given.size() < row || (given.size() - row) / stride < height - 1) return std::nullopt;
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
  for (std::size_t y = 0; y < height; ++y)
    std::memcpy(pixels.data() + y * width, given.data() + y * stride, row);
  if (!hasRedFirst(bitmap.format)) return pixels;
  for (auto& pixel : pixels) pixel = withRedAndBlueChanged(pixel);
  return pixels;
}

std::optional<PointerShape> shapeOf(const spa_meta_cursor& cursor,
                                    std::span<const std::byte> metadata) {
  const auto bitmap = read<spa_meta_bitmap>(metadata, cursor.bitmap_offset);
  if (!bitmap) return std::nullopt;
  const bool isEmpty = bitmap->size.width == 0 || bitmap->size.height == 0 || bitmap->offset == 0;
  if (isEmpty) return PointerShape{};
  auto pixels = pixelsOf(*bitmap, metadata.subspan(cursor.bitmap_offset));
  if (!pixels || !isNear(cursor.hotspot)) return std::nullopt;
  return PointerShape{static_cast<std::int32_t>(bitmap->size.width),
                      static_cast<std::int32_t>(bitmap->size.height), cursor.hotspot.x,
                      cursor.hotspot.y, std::move(*pixels)};
}

}  // namespace

std::optional<PointerNews> pointerNews(std::span<const std::byte> metadata) {
  const auto cursor = read<spa_meta_cursor>(metadata, 0);
  if (!cursor) return std::nullopt;
  if (cursor->id == 0) return PointerNews{};
  if (!isNear(cursor->position)) return std::nullopt;
  PointerNews news{true, cursor->position.x, cursor->position.y, std::nullopt};
  if (cursor->bitmap_offset == 0) return news;
  news.shape = shapeOf(*cursor, metadata);
  if (!news.shape) return std::nullopt;
  return news;
}

}  // namespace vesk::portal::screen

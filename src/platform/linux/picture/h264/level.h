#pragma once

#include <cstddef>
#include <cstdint>

namespace vesk::picture::h264 {

/// What a stream promises to its decoders (ITU-T H.264, Annex A), for baseline at a steady pace.
struct Level {
  int number = 0;                    ///< ten times the level's name
  std::size_t mostPictureBytes = 0;  ///< of each picture, by the least compression
  std::int64_t mostBitRate = 0;      ///< bits per second
  std::size_t mostSlices = 0;        ///< of each picture

  bool operator==(const Level&) const = default;
};

/// The lowest level for pictures of a size, so many a second, that take so many bits a second; the
/// highest of all where none is enough.
Level levelFor(std::int32_t width, std::int32_t height, std::int64_t picturesPerSecond,
               std::int64_t bitRate);

}  // namespace vesk::picture::h264

#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"

struct x264_t;

namespace vesk::rates {

/// x264 as anybody would set it for a live stream: ultrafast, zerolatency, its own rate control
/// with a buffer of half a second, a key frame every four seconds. Thread: one at a time.
class Yardstick {
 public:
  Yardstick(PixelSize size, int picturesPerSecond, int kilobitsPerSecond);

  /// One access unit in Annex B's byte stream format.
  std::vector<std::byte> encode(const picture::Nv12Image& image);

 private:
  struct Close {
    void operator()(x264_t* encoder) const;
  };
  std::unique_ptr<x264_t, Close> encoder_;
  std::int64_t pictures_ = 0;
};

}  // namespace vesk::rates

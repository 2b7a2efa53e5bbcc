#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

class ISVCDecoder;

namespace vesk::testing {

/// The luma of one decoded picture, rows without a gap.
struct Luma {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;
};

/// OpenH264's decoder, one access unit at a time. Thread: the test's.
class H264Decoder {
 public:
  H264Decoder();
  ~H264Decoder();
  H264Decoder(const H264Decoder&) = delete;
  H264Decoder& operator=(const H264Decoder&) = delete;

  /// The picture that comes out at once; nothing on any error and any delay.
  std::optional<Luma> decode(std::span<const std::byte> accessUnit);

  /// The same, and only the sum of the picture: all of its luma, then its blue-difference, then its
  /// red-difference, rows without a gap.
  std::optional<std::uint32_t> decodeToSum(std::span<const std::byte> accessUnit);

 private:
  ISVCDecoder* decoder_ = nullptr;
};

struct FfmpegResult {
  std::string messages;  ///< warnings and errors
  std::vector<Luma> pictures;
};

/// Decodes a byte stream with ffmpeg, picture by picture as sent.
FfmpegResult decodeWithFfmpeg(const std::vector<std::byte>& stream, int width, int height);

struct FfmpegSums {
  std::string messages;  ///< warnings and errors
  std::vector<std::uint32_t> sums;
};

/// The sum of each picture, in the order of `H264Decoder::decodeToSum`.
FfmpegSums sumsByFfmpeg(const std::vector<std::byte>& stream);

/// The red-difference of the first picture at every pixel of its luma: ffmpeg finds what lies
/// between the samples of the chroma by where the stream says that these are.
std::vector<std::uint8_t> redDifferenceByFfmpeg(const std::vector<std::byte>& stream, int width,
                                                int height);

/// Signal-to-noise ratio in decibels of the luma, within a rectangle or of all; 100 when equal.
struct Region {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};
double psnr(const Luma& decoded, const std::uint8_t* original, int stride,
            std::optional<Region> region = std::nullopt);

}  // namespace vesk::testing

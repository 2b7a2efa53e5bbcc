#include "support/H264Decoder.h"

#include <sys/wait.h>
#include <wels/codec_api.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/TemporaryFolder.h"
#include "support/pictureSum.h"

namespace vesk::testing {
namespace {

/// In one piece: pictures are many megabytes.
std::vector<char> contents(const std::filesystem::path& path) {
  std::vector<char> bytes(std::filesystem::file_size(path));
  std::ifstream(path, std::ios::binary)
      .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

struct FfmpegOutput {
  std::string messages;
  std::vector<char> pixels;
};

/// Every picture as sent, in the form that `options` ask for.
FfmpegOutput runFfmpeg(const std::vector<std::byte>& stream, const std::string& options) {
  const TemporaryFolder folder;
  const auto input = folder.path() / "stream.h264";
  const auto output = folder.path() / "pictures";
  const auto messages = folder.path() / "messages";
  std::ofstream(input, std::ios::binary)
      .write(reinterpret_cast<const char*>(stream.data()),
             static_cast<std::streamsize>(stream.size()));
  const std::string command = "ffmpeg -nostdin -v warning -flags low_delay -threads 1 -i " +
                              input.string() + " -fps_mode passthrough -f rawvideo " + options +
                              " " + output.string() + " 2>" + messages.string();
  const int status = std::system(command.c_str());
  const auto text = contents(messages);
  FfmpegOutput result{std::string(text.begin(), text.end()), contents(output)};
  if (status != 0) result.messages += "ffmpeg failed";
  return result;
}

/// The decoder's own memory, valid until the next picture.
struct Plane {
  const std::uint8_t* first = nullptr;
  int stride = 0;
  int width = 0;
  int height = 0;

  std::span<const std::uint8_t> row(int number) const {
    return {first + static_cast<std::ptrdiff_t>(number) * stride, static_cast<std::size_t>(width)};
  }
};

/// Luma, blue- and red-difference of the picture that comes out at once.
std::optional<std::array<Plane, 3>> decodedPlanes(ISVCDecoder& decoder,
                                                  std::span<const std::byte> accessUnit) {
  unsigned char* planes[3] = {};
  SBufferInfo info{};
  const auto state =
      decoder.DecodeFrameNoDelay(reinterpret_cast<const unsigned char*>(accessUnit.data()),
                                 static_cast<int>(accessUnit.size()), planes, &info);
  if (state != dsErrorFree || info.iBufferStatus != 1) return std::nullopt;
  const auto& buffer = info.UsrData.sSystemBuffer;
  const int width = buffer.iWidth, height = buffer.iHeight;
  return {{{{planes[0], buffer.iStride[0], width, height},
            {planes[1], buffer.iStride[1], width / 2, height / 2},
            {planes[2], buffer.iStride[1], width / 2, height / 2}}}};
}

}  // namespace

H264Decoder::H264Decoder() {
  if (WelsCreateDecoder(&decoder_) != 0) throw std::runtime_error("no decoder");
  SDecodingParam parameters{};
  parameters.sVideoProperty.eVideoBsType = VIDEO_BITSTREAM_AVC;
  parameters.eEcActiveIdc = ERROR_CON_DISABLE;
  if (decoder_->Initialize(&parameters) != 0) throw std::runtime_error("no decoder");
}

H264Decoder::~H264Decoder() {
  decoder_->Uninitialize();
  WelsDestroyDecoder(decoder_);
}

std::optional<Luma> H264Decoder::decode(std::span<const std::byte> accessUnit) {
  const auto planes = decodedPlanes(*decoder_, accessUnit);
  if (!planes) return std::nullopt;
  const auto& plane = planes->front();
  const auto width = static_cast<std::size_t>(plane.width);
  Luma luma{plane.width, plane.height,
            std::vector<std::uint8_t>(width * static_cast<std::size_t>(plane.height))};
  std::uint8_t* pixels = luma.pixels.data();
  for (int row = 0; row < plane.height; ++row, pixels += width)
    std::memcpy(pixels, plane.row(row).data(), width);
  return luma;
}

std::optional<std::uint32_t> H264Decoder::decodeToSum(std::span<const std::byte> accessUnit) {
  const auto planes = decodedPlanes(*decoder_, accessUnit);
  if (!planes) return std::nullopt;
  std::uint32_t sum = 0;
  for (const auto& plane : *planes) {
    for (int row = 0; row < plane.height; ++row) sum = pictureSum(plane.row(row), sum);
  }
  return sum;
}

FfmpegResult decodeWithFfmpeg(const std::vector<std::byte>& stream, int width, int height) {
  auto output = runFfmpeg(stream, "-pix_fmt nv12");
  FfmpegResult result{std::move(output.messages), {}};
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (std::size_t at = 0; at + size * 3 / 2 <= output.pixels.size(); at += size * 3 / 2) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(output.pixels.data()) + at;
    result.pictures.push_back({width, height, {first, first + size}});
  }
  return result;
}

FfmpegSums sumsByFfmpeg(const std::vector<std::byte>& stream) {
  const auto output = runFfmpeg(stream, "-pix_fmt yuv420p -f framehash -hash CRC32");
  FfmpegSums result{output.messages, {}};
  std::istringstream lines(std::string(output.pixels.begin(), output.pixels.end()));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') continue;
    const auto sum = line.substr(line.rfind(',') + 1);
    result.sums.push_back(static_cast<std::uint32_t>(std::stoul(sum, nullptr, 16)));
  }
  return result;
}

std::vector<std::uint8_t> redDifferenceByFfmpeg(const std::vector<std::byte>& stream, int width,
                                                int height) {
  const auto output = runFfmpeg(stream, "-vf zscale=filter=bilinear,format=yuv444p");
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (!output.messages.empty() || output.pixels.size() < size * 3) {
    throw std::runtime_error("ffmpeg: " + output.messages);
  }
  const auto* first = reinterpret_cast<const std::uint8_t*>(output.pixels.data()) + size * 2;
  return {first, first + size};
}

double psnr(const Luma& decoded, const std::uint8_t* original, int stride,
            std::optional<Region> region) {
  const Region all = region.value_or(Region{0, 0, decoded.width, decoded.height});
  double sum = 0;
  for (int y = all.y; y < all.y + all.height; ++y) {
    for (int x = all.x; x < all.x + all.width; ++x) {
      const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(decoded.width) +
                      static_cast<std::size_t>(x);
      const double difference = decoded.pixels[at] - original[y * stride + x];
      sum += difference * difference;
    }
  }
  if (sum == 0) return 100;
  return 10 * std::log10(255.0 * 255.0 * all.width * all.height / sum);
}

}  // namespace vesk::testing

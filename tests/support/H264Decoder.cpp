#include "support/H264Decoder.h"

#include <sys/wait.h>
#include <wels/codec_api.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "support/TemporaryFolder.h"

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
  unsigned char* planes[3] = {};
  SBufferInfo info{};
  const auto state =
      decoder_->DecodeFrameNoDelay(reinterpret_cast<const unsigned char*>(accessUnit.data()),
                                   static_cast<int>(accessUnit.size()), planes, &info);
  if (state != dsErrorFree || info.iBufferStatus != 1) return std::nullopt;
  const auto& buffer = info.UsrData.sSystemBuffer;
  Luma luma{buffer.iWidth, buffer.iHeight, {}};
  for (int row = 0; row < buffer.iHeight; ++row) {
    const unsigned char* first = planes[0] + row * buffer.iStride[0];
    luma.pixels.insert(luma.pixels.end(), first, first + buffer.iWidth);
  }
  return luma;
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

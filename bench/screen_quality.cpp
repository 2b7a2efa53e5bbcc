// Compares each picture of an H.264 stream with the screen that DISPLAY names, as it is now: prints
// the signal-to-noise ratio of the luma, in decibels, a line for each picture. The screen's luma is
// computed as the stream's colour description says, BT.601 in video range, and rounded only once;
// a screen of twice the size is averaged.

#include <xcb/xcb.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int width = 1920;
constexpr int height = 1080;

double lumaOf(const std::uint8_t* pixel) {
  return 16 + (65.481 * pixel[2] + 128.553 * pixel[1] + 24.966 * pixel[0]) / 255;
}

std::vector<std::uint8_t> screenLuma() {
  auto* const connection = xcb_connect(nullptr, nullptr);
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const int across = screen->width_in_pixels;
  const int scale = across / width;
  std::vector<std::uint8_t> luma(static_cast<std::size_t>(width * height));
  for (int y = 0; y < height; ++y) {
    auto* const image = xcb_get_image_reply(
        connection,
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0,
                      static_cast<std::int16_t>(y * scale), screen->width_in_pixels,
                      static_cast<std::uint16_t>(scale), ~0U),
        nullptr);
    if (image == nullptr) std::exit(EXIT_FAILURE);
    const std::uint8_t* const pixels = xcb_get_image_data(image);
    for (int x = 0; x < width; ++x) {
      double sum = 0;
      for (int dy = 0; dy < scale; ++dy) {
        for (int dx = 0; dx < scale; ++dx) {
          sum += lumaOf(pixels + (dy * across + x * scale + dx) * 4);
        }
      }
      luma[static_cast<std::size_t>(y * width + x)] =
          static_cast<std::uint8_t>(std::lround(sum / (scale * scale)));
    }
    std::free(image);
  }
  xcb_disconnect(connection);
  return luma;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) return EXIT_FAILURE;
  const auto reference = screenLuma();
  const std::string command = std::string("ffmpeg -nostdin -v error -i '") + argv[1] +
                              "' -fps_mode passthrough -f rawvideo -pix_fmt nv12 -";
  FILE* const decoder = ::popen(command.c_str(), "r");
  if (decoder == nullptr) return EXIT_FAILURE;
  std::vector<std::uint8_t> picture(reference.size() * 3 / 2);
  while (std::fread(picture.data(), 1, picture.size(), decoder) == picture.size()) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
      const int difference = picture[i] - reference[i];
      sum += static_cast<std::uint64_t>(difference * difference);
    }
    const double mean = static_cast<double>(sum) / static_cast<double>(reference.size());
    std::printf("%.2f\n", sum == 0 ? 100 : 10 * std::log10(255.0 * 255.0 / mean));
  }
  return ::pclose(decoder) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

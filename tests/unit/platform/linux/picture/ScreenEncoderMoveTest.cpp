#include <gtest/gtest.h>

#include "platform/linux/picture/ScreenEncoder.h"
#include "support/H264Decoder.h"
#include "support/PaintedImages.h"

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;

constexpr PixelSize size{1280, 720};

/// A page that has stood still until it was good.
class ScreenEncoderMoveTest : public ::testing::Test {
 protected:
  ScreenEncoderMoveTest() {
    screen.patches(0, 0, size.width, size.height);
    pageBytes = encode();
    for (int i = 0; i < 60; ++i) pageBytes += encode();
  }

  std::size_t encode() {
    const auto sample = encoder.encode(screen.image(), time += 33'333'333ns, false);
    return sample && sample->data ? sample->data->size() : 0;
  }

  /// How much the last picture is like the screen.
  double quality() const {
    testing::Luma luma{size.width, size.height, {}};
    for (int y = 0; y < size.height; ++y) {
      const auto* row = encoder.reconstruction().lumaAt(0, y);
      luma.pixels.insert(luma.pixels.end(), row, row + size.width);
    }
    return testing::psnr(luma, screen.image()->luma(), screen.image()->stride());
  }

  static ScreenEncoderSettings settings() {
    ScreenEncoderSettings settings;
    settings.encoder.width = size.width;
    settings.encoder.height = size.height;
    settings.bitRate = 20'000'000;
    return settings;
  }

  testing::PaintedImages screen{size};
  ScreenEncoder encoder{settings()};
  HostTime time{1h};
  std::size_t pageBytes = 0;  ///< what it took in all
};

/// Much farther than an encoder looks for anything.
TEST_F(ScreenEncoderMoveTest, GoesAlongHoweverFarAPageIsScrolled) {
  for (const int rows : {64, 80, 36}) {
    screen.scroll(rows);
    EXPECT_LT(encode(), pageBytes / 4) << rows;
    EXPECT_GT(quality(), 40) << rows;
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE

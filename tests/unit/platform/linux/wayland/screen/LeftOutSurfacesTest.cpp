#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

#include "platform/linux/wayland/screen/OutputImages.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "support/Patience.h"
#include "support/Sway.h"
#include "support/WlImages.h"
#include "support/WlLayer.h"
#include "support/WlWindow.h"

namespace vesk::wayland::screen::VESK_FILE {
namespace {

using testing::imageOf;
using testing::largestDifference;
using testing::translucent;
using testing::WlImages;
using testing::WlLayer;
using testing::WlWindow;

constexpr PixelSize screenSize{640, 400};

/// The program's own surfaces over a window of noise.
class LeftOutSurfacesTest : public ::testing::Test {
 protected:
  LeftOutSurfacesTest() { sway.enter(); }

  std::unique_ptr<WlLayer> layer(const PixelRect& area, std::uint32_t pixel) {
    const auto count = static_cast<std::size_t>(area.width * area.height);
    return std::make_unique<WlLayer>(
        list,
        beneath::OwnSurface{server::WlDisplays().mainDisplay(), area,
                            std::make_shared<WlLayer::Pixels>(count, pixel)},
        scale);
  }

  static std::vector<std::uint32_t> paintNoise(WlWindow& window) {
    std::mt19937 random(11);
    std::vector<std::uint32_t> pixels(
        static_cast<std::size_t>(screenSize.width * screenSize.height));
    for (auto& pixel : pixels) pixel = random() & 0xffffffU;
    window.paint({0, 0, 640, 400}, pixels);
    return pixels;
  }

  /// Luma and chroma are sums of what three colours are off by, rounded once more.
  static bool shows(WlImages& images, const std::vector<std::uint32_t>& pixels, int error) {
    const auto expected = imageOf(pixels, screenSize);
    return images.waitUntil(
        [&](const auto& image) { return largestDifference(image, *expected) <= error; });
  }

  testing::Sway sway{{"output HEADLESS-1 mode 640x400@60Hz"}};
  beneath::OwnSurfaces list;
  int scale = 1;
};

TEST_F(LeftOutSurfacesTest, AreUndoneWhateverTheirAlpha) {
  WlWindow window;
  const auto pixels = paintNoise(window);
  struct Bound {
    int alpha;
    int error;
  };
  for (const auto& [alpha, error] : {Bound{128, 1}, {153, 1}, {204, 2}, {229, 4}}) {
    const auto pixel = translucent(alpha, 0xe08030);
    const auto strip = layer({100, 0, 300, 26}, pixel);
    const auto edge = layer({0, 26, 8, 374}, pixel);
    WlImages images(&list);
    WlImages withThem;
    strip->show();
    edge->show();
    ASSERT_EQ(images.open(), std::nullopt);
    ASSERT_EQ(withThem.open(), std::nullopt);
    withThem.drain(50);
    EXPECT_TRUE(shows(images, pixels, error + 1)) << alpha;
    EXPECT_GT(largestDifference(*withThem.last(), *images.last(), {100, 0, 300, 26}), 50);
    const PixelRect rest{16, 32, 624, 368};
    EXPECT_EQ(largestDifference(*images.last(), *imageOf(pixels, screenSize), rest), 0);
  }
}

TEST_F(LeftOutSurfacesTest, AreUndoneInEachImage) {
  WlWindow window;
  auto pixels = paintNoise(window);
  const auto strip = layer({100, 0, 300, 26}, translucent(204, 0x303030));
  strip->show();
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  for (int i = 0; i < 10; ++i) {
    const std::uint32_t colour = i % 2 == 0 ? 0xffffff : 0;
    // Half of it beneath the strip.
    window.fill(120, 14, 60, 30, colour);
    for (int y = 14; y < 44; ++y) std::fill_n(pixels.begin() + y * 640 + 120, 60, colour);
    ASSERT_TRUE(shows(images, pixels, 3)) << i;
  }
}

TEST_F(LeftOutSurfacesTest, AreUndoneOnATurnedOutput) {
  sway.command("output HEADLESS-1 transform 90");
  ASSERT_TRUE(testing::waitUntil([] {
    server::WlDisplays displays;
    return displays.pixels(displays.mainDisplay()) == PixelSize{400, 640};
  }));
  WlWindow window;
  window.fill(0, 0, 400, 640, 0x406080);
  window.fill(100, 0, 40, 300, 0xf0f0f0);
  const auto strip = layer({50, 0, 300, 26}, translucent(204, 0x303030));
  const auto band = layer({0, 300, 8, 340}, translucent(255, 0x00ff00));
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  strip->show();
  band->show();
  std::vector<std::uint32_t> pixels(400 * 640, 0x406080);
  for (int y = 0; y < 300; ++y) std::fill_n(pixels.begin() + y * 400 + 100, 40, 0xf0f0f0);
  const auto expected = imageOf(pixels, {400, 640});
  const auto isExpected = [&](const auto& image) {
    return largestDifference(image, *expected) <= 3;
  };
  EXPECT_TRUE(images.waitUntil(isExpected));
  images.drain(100);
  EXPECT_TRUE(isExpected(*images.last()));
}

TEST_F(LeftOutSurfacesTest, AreUndoneWhereAPointIsTwoPixels) {
  sway.command("output HEADLESS-1 scale 2");
  ASSERT_TRUE(testing::waitUntil([] {
    server::WlDisplays displays;
    return displays.pixels(displays.mainDisplay()) == PixelSize{320, 200};
  }));
  scale = 2;
  testing::WlWindowLook look;
  look.scale = 2;
  WlWindow window(look);
  const auto pixels = paintNoise(window);
  const auto strip = layer({100, 0, 300, 26}, translucent(204, 0x303030));
  strip->show();
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(shows(images, pixels, 3));
}

TEST_F(LeftOutSurfacesTest, AreFilledWhereNothingShowsThrough) {
  WlWindow window;
  const auto strip = layer({100, 0, 300, 26}, 0xffe08030);
  strip->show();
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(shows(images, std::vector<std::uint32_t>(640 * 400, 0x204060), 0));
  // The surroundings alone change.
  window.fill(0, 26, 640, 374, 0xffffff);
  window.fill(0, 0, 100, 26, 0xffffff);
  window.fill(400, 0, 240, 26, 0xffffff);
  EXPECT_TRUE(shows(images, std::vector<std::uint32_t>(640 * 400, 0xffffff), 0));
}

TEST_F(LeftOutSurfacesTest, StayWhereNothingIsToBeLeftOut) {
  WlWindow window;
  const auto strip = layer({100, 0, 300, 26}, 0xffe08030);
  strip->show();
  WlImages images(nullptr);
  ASSERT_EQ(images.open(), std::nullopt);
  std::vector<std::uint32_t> pixels(640 * 400, 0x204060);
  for (int y = 0; y < 26; ++y) std::fill_n(pixels.begin() + y * 640 + 100, 300, 0xe08030);
  EXPECT_TRUE(shows(images, pixels, 0));
}

TEST_F(LeftOutSurfacesTest, HoldImagesBackWhileTheyChange) {
  WlWindow window;
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain(50);
  {
    const beneath::OwnSurfaces::Change change(list);
    window.fill(10, 10, 50, 50, 0xffffff);
    EXPECT_EQ(images.next(300), nullptr);
    EXPECT_TRUE(images.source().isHeldBack());
  }
  // Nothing else is drawn, and it is there all the same.
  const auto image = images.next(testing::patience());
  ASSERT_NE(image, nullptr);
  EXPECT_FALSE(images.source().isHeldBack());
  EXPECT_EQ(image->luma()[30 * image->stride() + 30], 235);
  EXPECT_LE(images.drain(300), 1) << "the compositor may tell of the whole output once more";
  EXPECT_EQ(largestDifference(*images.last(), *image), 0);
}

TEST_F(LeftOutSurfacesTest, LeaveNoTraceHoweverOftenTheyComeAndGo) {
  WlWindow window;
  const auto strip = layer({100, 0, 300, 26}, translucent(204, 0xffffff));
  const auto band = layer({0, 26, 8, 374}, translucent(255, 0xff0000));
  const auto plain = imageOf(std::vector<std::uint32_t>(640 * 400, 0x204060), screenSize);
  WlImages images(&list);
  ASSERT_EQ(images.open(), std::nullopt);
  std::atomic<bool> isOver = false;
  std::atomic<int> count = 0;
  const auto waitForOneMore = [&] {
    testing::waitUntil([&, before = count.load()] { return count > before; });
  };
  std::thread presence([&] {
    for (int i = 0; i < 100; ++i) {
      strip->show();
      band->show();
      if (i % 3 != 0) waitForOneMore();
      strip->hide();
      band->hide();
      if (i % 3 != 1) waitForOneMore();
    }
    isOver = true;
  });
  std::thread painter([&] {
    for (int i = 0; !isOver; ++i) window.fill(200, 200, 50, 50, i % 2 == 0 ? 0xffffff : 0);
  });
  while (!isOver) {
    const auto image = images.next(20);
    if (image == nullptr) continue;
    ++count;
    EXPECT_LE(largestDifference(*image, *plain, {0, 0, 640, 192}), 3) << count;
    EXPECT_LE(largestDifference(*image, *plain, {0, 192, 192, 208}), 3) << count;
  }
  presence.join();
  painter.join();
  EXPECT_GT(count, 50);
  EXPECT_EQ(images.error(), std::nullopt);
}

}  // namespace
}  // namespace vesk::wayland::screen::VESK_FILE

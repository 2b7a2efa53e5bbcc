#include <algorithm>
#include <cstdlib>

#include "platform/linux/wayland/overlay/LayerOverlay.h"
#include "support/OverlayFixture.h"

namespace vesk::wayland::overlay::VESK_FILE {
namespace {

constexpr std::uint32_t windowColour = 0x204060;

int partOf(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xffU); }

std::uint32_t blended(std::uint32_t below, std::uint32_t premultiplied) {
  std::uint32_t result = 0;
  const int left = 255 - partOf(premultiplied, 24);
  for (const int shift : {0, 8, 16}) {
    const int part = partOf(premultiplied, shift) + (partOf(below, shift) * left + 127) / 255;
    result |= static_cast<std::uint32_t>(std::min(part, 255)) << shift;
  }
  return result;
}

int distance(std::uint32_t one, std::uint32_t other) {
  int most = 0;
  for (const int shift : {0, 8, 16})
    most = std::max(most, std::abs(partOf(one, shift) - partOf(other, shift)));
  return most;
}

class LayerOverlayLookTest : public testing::OverlayFixture {
 protected:
  static QImage plain(const QImage& like) {
    QImage image(like.size(), QImage::Format_RGB32);
    image.fill(windowColour);
    return image;
  }

  /// What the list says that is seen above a window of one colour.
  QImage asListed(const QImage& like) const {
    QImage image = plain(like);
    for (const auto& surface : surfaces()) {
      const auto& area = surface.area;
      for (int y = 0; y < area.height; ++y) {
        for (int x = 0; x < area.width; ++x) {
          const auto pixel = surface.pixels->at(static_cast<std::size_t>(y * area.width + x));
          image.setPixel(area.x + x, area.y + y,
                         blended(image.pixel(area.x + x, area.y + y), pixel));
        }
      }
    }
    return image;
  }

  static int worst(const QImage& one, const QImage& other) {
    int most = one.size() == other.size() ? 0 : 1000;
    for (int y = 0; most < 1000 && y < one.height(); ++y) {
      for (int x = 0; x < one.width(); ++x)
        most = std::max(most, distance(one.pixel(x, y), other.pixel(x, y)));
    }
    return most;
  }

  /// Where a picture is not the window's alone.
  static bool isTouched(const QImage& picture, int x, int y) {
    return distance(picture.pixel(x, y), windowColour) > 0;
  }

  testing::WlWindow window_{{.colour = windowColour}};
};

class LayerOverlayScaleTest : public LayerOverlayLookTest,
                              public ::testing::WithParamInterface<int> {};

TEST_P(LayerOverlayScaleTest, IsSeenAboveAFullScreenWindowJustAsItIsListed) {
  sway_.command("output HEADLESS-1 scale " + std::to_string(GetParam()));
  const auto screen = overlays_.mainScreen();
  ASSERT_TRUE(screen);
  const auto line = show(border(screen->frame));
  const auto tab = show(strip(screen->frame));
  ASSERT_EQ(surfaces().size(), 5U);
  EXPECT_TRUE(own_.shown().isCertain);
  QImage picture;
  const auto isSeen = [&] {
    picture = testing::wlPicture();
    return picture.size() == QSize(1920, 1080) && isTouched(picture, 960, 4);
  };
  ASSERT_TRUE(waitUntil(isSeen));
  // Rounding.
  EXPECT_LE(worst(picture, asListed(picture)), 2);
}

INSTANTIATE_TEST_SUITE_P(AtWholeScales, LayerOverlayScaleTest, ::testing::Values(1, 2));

TEST_F(LayerOverlayLookTest, IsListedWithoutPixelsWhereThePersonHasChosenAFraction) {
  sway_.command("output HEADLESS-1 scale 1.5");
  const auto screen = overlays_.mainScreen();
  ASSERT_EQ(screen->frame, (Rect{{0, 0}, 1280, 720}));
  const auto line = show(border(screen->frame));
  const auto tab = show(strip(screen->frame));
  const auto listed = surfaces();
  ASSERT_EQ(listed.size(), 5U);
  for (const auto& surface : listed) EXPECT_EQ(surface.pixels, nullptr);
  const QImage picture = testing::wlPicture();
  const QRect whole = picture.rect();
  ASSERT_EQ(whole.size(), QSize(1920, 1080));
  int outside = 0;
  for (int y = 0; y < whole.height(); ++y) {
    for (int x = 0; x < whole.width(); ++x) {
      const bool isListed = std::ranges::any_of(listed, [&](const auto& surface) {
        return !intersection(surface.area, {x, y, 1, 1}).isEmpty();
      });
      outside += !isListed && isTouched(picture, x, y) ? 1 : 0;
    }
  }
  EXPECT_EQ(outside, 0) << "pixels that nobody knows of";
  EXPECT_GT(qRed(picture.pixel(960, 2)), 150);
  EXPECT_GT(qRed(picture.pixel(2, 700)), 150);
  EXPECT_GT(qRed(picture.pixel(1918, 700)), 150);
  EXPECT_GT(qRed(picture.pixel(700, 1078)), 150);
}

TEST_F(LayerOverlayLookTest, LeavesATenthOfWhatIsBeneathTheStripToBeSeen) {
  const auto tab = show(strip(wholeScreen));
  const auto listed = surfaces();
  ASSERT_EQ(listed.size(), 1U);
  ASSERT_NE(listed.front().pixels, nullptr);
  EXPECT_EQ(listed.front().area, (PixelRect{680, 0, 560, 26}));
  std::uint32_t most = 0;
  std::ptrdiff_t bright = 0;
  for (const auto pixel : *listed.front().pixels) {
    most = std::max(most, pixel >> 24);
    bright += partOf(pixel, 8) > 200 ? 1 : 0;
  }
  EXPECT_EQ(most, 229U);
  EXPECT_GT(bright, 100) << "the label can be read";
}

TEST_F(LayerOverlayLookTest, KeepsALabelReadableInAFaintStrip) {
  const auto tab = show(strip(wholeScreen, 0.2));
  const auto listed = surfaces();
  ASSERT_EQ(listed.size(), 1U);
  const auto& pixels = *listed.front().pixels;
  EXPECT_NEAR(pixels.at(560 * 2 + 280) >> 24, 51, 1) << "as faint as was asked for";
  EXPECT_GT(std::ranges::max(pixels, {}, [](auto pixel) { return pixel >> 24; }) >> 24, 200U);
}

TEST_F(LayerOverlayLookTest, LaysAFaintStripOverTheColourOfAThickBorder) {
  const auto line = show(border(wholeScreen, 0.8, 20));
  const auto tab = show(strip(wholeScreen, 0.2));
  const QImage picture = testing::wlPicture();
  EXPECT_LE(worst(picture, asListed(picture)), 2);
  const QRgb within = picture.pixel(700, 2);
  EXPECT_GE(qRed(within), qRed(picture.pixel(600, 2))) << "as red as beside it at least";
  EXPECT_LT(qRed(picture.pixel(700, 22)), qRed(within)) << "only where the border is";
}

TEST_F(LayerOverlayLookTest, IsOnTheOutputThatItsFrameLiesOn) {
  sway_.command("create_output");
  sway_.command("output HEADLESS-2 mode 1280x1024@60Hz position 1920 0 scale 2");
  sway_.command("output HEADLESS-2 bg #204060 solid_color");
  const auto all = overlays_.screens();
  ASSERT_EQ(all.size(), 2U);
  const auto& second = all.at(1);
  ASSERT_EQ(second.frame, (Rect{{1920, 0}, 640, 512}));
  const auto line = show(border(second.frame));
  const auto tab = show(strip(second.frame));
  for (const auto& surface : surfaces()) EXPECT_EQ(surface.output, second.screenNumber);
  ASSERT_TRUE(waitUntil([] {
    const QImage picture = testing::wlPicture("HEADLESS-2");
    return picture.size() == QSize(1280, 1024) && picture.pixel(640, 900) == 0xff204060U;
  }));
  const QImage picture = testing::wlPicture("HEADLESS-2");
  EXPECT_LE(worst(picture, asListed(picture)), 2);
  const QImage first = testing::wlPicture("HEADLESS-1");
  EXPECT_EQ(worst(first, plain(first)), 0) << "and on no other";
}

TEST_F(LayerOverlayLookTest, LeavesNothingBehind) {
  auto line = show(border(wholeScreen));
  auto tab = show(strip(wholeScreen));
  tab->orderOut();
  const QImage withBorder = testing::wlPicture();
  EXPECT_EQ(surfaces().size(), 4U);
  EXPECT_LE(worst(withBorder, asListed(withBorder)), 2) << "the border has closed again";
  line.reset();
  EXPECT_TRUE(surfaces().empty());
  EXPECT_TRUE(own_.shown().isCertain);
  const QImage picture = testing::wlPicture();
  EXPECT_EQ(worst(picture, plain(picture)), 0);
}

TEST_F(LayerOverlayLookTest, ShowsAnotherLabelAtOnce) {
  const auto tab = show(strip(wholeScreen));
  const auto before = own_.shown();
  tab->setLabel("Charles Babbage is viewing this screen");
  const auto after = own_.shown();
  EXPECT_NE(after.generation, before.generation);
  EXPECT_NE(*after.surfaces.front().pixels, *before.surfaces.front().pixels);
  const QImage picture = testing::wlPicture();
  EXPECT_LE(worst(picture, asListed(picture)), 2);
}

TEST_F(LayerOverlayLookTest, IsMadeAnewWhenTheScaleChangesUnderIt) {
  const auto tab = show(strip({{0, 0}, 960, 540}));
  sway_.command("output HEADLESS-1 scale 2");
  ASSERT_TRUE(waitUntil([this] { return surfaces().front().area == PixelRect{400, 0, 1120, 52}; }));
  EXPECT_TRUE(own_.shown().isCertain);
  QImage picture;
  ASSERT_TRUE(waitUntil([&] {
    picture = testing::wlPicture();
    return picture.size() == QSize(1920, 1080) && !isTouched(picture, 960, 900);
  }));
  EXPECT_LE(worst(picture, asListed(picture)), 2);
}

}  // namespace
}  // namespace vesk::wayland::overlay::VESK_FILE

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "platform/linux/portal/screen/StreamImages.h"
#include "support/CastImages.h"
#include "support/Mutter.h"
#include "support/MutterCast.h"
#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/WlWindow.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

using testing::CastImages;
using testing::imageOf;
using testing::largestDifference;
using testing::MutterCast;
using testing::WlWindow;
using wayland::beneath::OwnSurface;
using wayland::beneath::OwnSurfaces;

constexpr PixelSize monitor{640, 400};
constexpr PixelRect strip{100, 0, 300, 26};
constexpr std::uint32_t laid = 0xcc302010;  // premultiplied

std::uint32_t blended(std::uint32_t below) {
  std::uint32_t sum = 0;
  for (unsigned shift = 0; shift < 24; shift += 8) {
    const auto part = ((below >> shift & 0xffU) * (255U - (laid >> 24U)) + 127U) / 255U;
    sum |= (part + (laid >> shift & 0xffU)) << shift;
  }
  return sum;
}

/// A window that looks as if the program's own strip lay over it.
class StreamBeneathTest : public ::testing::Test {
 protected:
  StreamBeneathTest() {
    mutter.enter();
    std::mt19937 random(11);
    for (auto& pixel : pixels) pixel = random() & 0xffffffU;
  }

  void paint(WlWindow& window, bool withStrip) const {
    auto seen = pixels;
    for (std::int32_t y = strip.y; withStrip && y < strip.bottom(); ++y) {
      for (std::int32_t x = strip.x; x < strip.right(); ++x) {
        auto& pixel = seen[static_cast<std::size_t>(y * 640 + x)];
        pixel = blended(pixel);
      }
    }
    window.paint({0, 0, 640, 400}, seen);
  }

  void listStrip() {
    const auto count = static_cast<std::size_t>(strip.width * strip.height);
    list.add({CastImages::display, strip, std::make_shared<OwnSurface::Pixels>(count, laid)});
  }

  bool showsWhatIsBeneath(CastImages& images) const {
    const auto expected = imageOf(pixels, monitor);
    return images.waitUntil(
        [&](const auto& image) { return largestDifference(image, *expected) <= 3; });
  }

  testing::Mutter mutter{{monitor, false, false}};
  OwnSurfaces list;
  std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(640 * 400);
};

TEST_F(StreamBeneathTest, ShowsWhatLiesBeneathOwnSurfaces) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  {
    const OwnSurfaces::Change change(list);
    listStrip();
    paint(window, /*withStrip=*/true);
    ASSERT_TRUE(window.waitUntilShown());
  }
  MutterCast cast(mutter);
  CastImages images(cast, monitor, {false, 30, &list});
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(showsWhatIsBeneath(images));
}

TEST_F(StreamBeneathTest, HoldsBackWhileOwnSurfacesChange) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  paint(window, /*withStrip=*/false);
  ASSERT_TRUE(window.waitUntilShown());
  MutterCast cast(mutter);
  CastImages images(cast, monitor, {false, 30, &list});
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_TRUE(showsWhatIsBeneath(images));
  images.drain();
  {
    const OwnSurfaces::Change change(list);
    listStrip();
    paint(window, /*withStrip=*/true);
    ASSERT_TRUE(window.waitUntilShown());
    EXPECT_EQ(images.next(300), nullptr);
    EXPECT_TRUE(images.source().isHeldBack());
  }
  // No image shows the strip, though nothing is drawn any more.
  const auto image = images.next(testing::patience());
  ASSERT_NE(image, nullptr);
  EXPECT_LE(largestDifference(*image, *imageOf(pixels, monitor)), 3);
  EXPECT_FALSE(images.source().isHeldBack());
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE

#include "platform/linux/wayland/screen/UprightPixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/wayland/screen/turned.h"

namespace vesk::wayland::screen::VESK_FILE {
namespace {

constexpr std::array everyTransform{
    WL_OUTPUT_TRANSFORM_NORMAL,      WL_OUTPUT_TRANSFORM_90,         WL_OUTPUT_TRANSFORM_180,
    WL_OUTPUT_TRANSFORM_270,         WL_OUTPUT_TRANSFORM_FLIPPED,    WL_OUTPUT_TRANSFORM_FLIPPED_90,
    WL_OUTPUT_TRANSFORM_FLIPPED_180, WL_OUTPUT_TRANSFORM_FLIPPED_270};

/// A panel whose pixels are all different.
struct Panel {
  static constexpr int width = 37;
  static constexpr int height = 21;
  static constexpr int stride = width * 4 + 12;

  explicit Panel(std::uint32_t wished = WL_SHM_FORMAT_XRGB8888) : format(wished) {
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x)
        *pixel(x, y) =
            0xff000000U | static_cast<unsigned>(x << 16U) | static_cast<unsigned>(y << 8U) | 0x55U;
    }
  }
  std::uint32_t* pixel(int x, int y) {
    return reinterpret_cast<std::uint32_t*>(memory.data()) + y * stride / 4 + x;
  }
  PanelPixels pixels(bool isUpsideDown = false) {
    return {{format, width, height, stride}, memory.data(), isUpsideDown};
  }

  std::uint32_t format;
  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(stride * height);
};

constexpr PixelSize panelSize{Panel::width, Panel::height};

std::uint32_t at(const beneath::Pixels& pixels, const PixelRect& place) {
  return *reinterpret_cast<const std::uint32_t*>(pixels.at(place.x, place.y));
}

PixelRect whole(const PixelSize& size) {
  return {0, 0, static_cast<int>(size.width), static_cast<int>(size.height)};
}

TEST(TurnedTest, LiesWithinWhatThePersonSeesAndTurnsBack) {
  for (const auto transform : everyTransform) {
    const auto size = turned(panelSize, transform);
    const PixelRect rect{3, 5, 11, 7};
    const auto seen = turned(rect, panelSize, transform);
    EXPECT_EQ(intersection(seen, whole(size)), seen) << transform;
    EXPECT_EQ(turned(seen, size, inverse(transform)), rect) << transform;
    EXPECT_EQ(turned(whole(panelSize), panelSize, transform), whole(size)) << transform;
  }
}

TEST(UprightPixelsTest, AreThePanelsOwnWhereTheyNeedNotBeChanged) {
  Panel panel;
  UprightPixels upright(WL_OUTPUT_TRANSFORM_NORMAL);
  const auto pixels = upright.update(panel.pixels(), {});
  EXPECT_EQ(pixels.data, panel.memory.data());
  EXPECT_EQ(pixels.stride, Panel::stride);
  EXPECT_EQ(pixels.width, Panel::width);
  EXPECT_EQ(pixels.height, Panel::height);
}

TEST(UprightPixelsTest, AreWhereTheTransformPutsThem) {
  for (const auto transform : everyTransform) {
    for (const bool isUpsideDown : {false, true}) {
      Panel panel;
      UprightPixels upright(transform);
      const auto size = turned(panelSize, transform);
      const auto pixels = upright.update(panel.pixels(isUpsideDown), {whole(size)});
      ASSERT_EQ((PixelSize{pixels.width, pixels.height}), size);
      for (int y = 0; y < Panel::height; ++y) {
        for (int x = 0; x < Panel::width; ++x) {
          const auto place = turned({x, y, 1, 1}, panelSize, transform);
          ASSERT_EQ(at(pixels, place), *panel.pixel(x, isUpsideDown ? Panel::height - 1 - y : y))
              << transform << isUpsideDown << ": " << x << "," << y;
        }
      }
    }
  }
}

TEST(UprightPixelsTest, AreBroughtWhereTheyHaveChangedAlone) {
  for (const auto transform : everyTransform) {
    if (transform == WL_OUTPUT_TRANSFORM_NORMAL) continue;
    Panel panel;
    UprightPixels upright(transform);
    const auto size = turned(panelSize, transform);
    upright.update(panel.pixels(), {whole(size)});
    std::ranges::fill(panel.memory, 0);
    const PixelRect changed{2, 3, 7, 9};
    const auto pixels = upright.update(panel.pixels(), {changed, {-5, -5, 6, 6}, {500, 0, 9, 9}});
    int cleared = 0;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) cleared += at(pixels, {x, y, 1, 1}) == 0 ? 1 : 0;
    }
    EXPECT_EQ(cleared, 7 * 9 + 1) << transform;
    EXPECT_EQ(at(pixels, {8, 11, 1, 1}), 0U) << transform;
  }
}

TEST(UprightPixelsTest, HaveTheColoursOfEveryFormatThatCanBeRead) {
  struct Case {
    std::uint32_t format;
    std::uint32_t pixel;
  };
  // Red 255, green 128, blue 64.
  constexpr std::uint32_t ten = 1023U << 20U | 514U << 10U | 257U;
  constexpr std::uint32_t tenReversed = 257U << 20U | 514U << 10U | 1023U;
  for (const auto& [format, pixel] : {Case{WL_SHM_FORMAT_XRGB8888, 0x00ff8040U},
                                      {WL_SHM_FORMAT_ARGB8888, 0x12ff8040U},
                                      {WL_SHM_FORMAT_XBGR8888, 0x004080ffU},
                                      {WL_SHM_FORMAT_ABGR8888, 0x124080ffU},
                                      {WL_SHM_FORMAT_XRGB2101010, ten},
                                      {WL_SHM_FORMAT_ARGB2101010, ten},
                                      {WL_SHM_FORMAT_XBGR2101010, tenReversed},
                                      {WL_SHM_FORMAT_ABGR2101010, tenReversed}}) {
    ASSERT_TRUE(UprightPixels::canRead(format));
    Panel panel(format);
    *panel.pixel(5, 6) = pixel;
    UprightPixels upright(WL_OUTPUT_TRANSFORM_NORMAL);
    const auto pixels = upright.update(panel.pixels(), {whole(panelSize)});
    EXPECT_EQ(at(pixels, {5, 6, 1, 1}) & 0xffffffU, 0xff8040U) << std::hex << format;
  }
  EXPECT_FALSE(UprightPixels::canRead(WL_SHM_FORMAT_RGB565));
  EXPECT_FALSE(UprightPixels::canRead(WL_SHM_FORMAT_RGBX8888));
}

}  // namespace
}  // namespace vesk::wayland::screen::VESK_FILE

#include "platform/linux/wayland/beneath/PictureBeneath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace vesk::wayland::beneath::VESK_FILE {
namespace {

constexpr DisplayId output = 7;

class PictureBeneathTest : public ::testing::Test {
 protected:
  static constexpr int width = 64;
  static constexpr int height = 48;

  PictureBeneathTest() {
    for (std::size_t i = 0; i < desktop.size(); ++i)
      desktop[i] = static_cast<std::uint8_t>(i * 2654435761U >> 13U);
  }

  Pixels pixels() { return {seen.data(), width * 4, width, height}; }

  OwnSurfaces::Number add(const PixelRect& area, std::uint32_t pixel, DisplayId where = output) {
    const OwnSurfaces::Change change(surfaces);
    return surfaces.add({where, area, picture(area, pixel)});
  }
  OwnSurfaces::Number addUnknown(const PixelRect& area) {
    const OwnSurfaces::Change change(surfaces);
    return surfaces.add({output, area, nullptr});
  }
  static std::shared_ptr<OwnSurface::Pixels> picture(const PixelRect& area, std::uint32_t pixel) {
    return std::make_shared<OwnSurface::Pixels>(static_cast<std::size_t>(area.width * area.height),
                                                pixel);
  }

  /// What a compositor shows.
  void show() {
    seen = desktop;
    for (const auto& surface : surfaces.shown().surfaces) {
      if (surface.output != output) continue;
      const auto& area = surface.area;
      for (int y = std::max(area.y, 0); y < std::min(area.bottom(), height); ++y) {
        for (int x = std::max(area.x, 0); x < std::min(area.right(), width); ++x) {
          const auto index = static_cast<std::size_t>((y - area.y) * area.width + x - area.x);
          lay(pixels().at(x, y), surface.pixels ? (*surface.pixels)[index] : 0xff00ff00);
        }
      }
    }
  }
  static void lay(std::uint8_t* pixel, std::uint32_t over) {
    const int alpha = static_cast<int>(over >> 24U);
    for (unsigned i = 0; i < 3; ++i) {
      const int own = static_cast<int>(over >> (8 * i) & 0xffU);
      pixel[i] = static_cast<std::uint8_t>((pixel[i] * (255 - alpha) + 127) / 255 + own);
    }
  }

  std::vector<PixelRect> uncover(std::vector<PixelRect> changed = {}) {
    beneath.uncover(pixels(), surfaces.shown(), changed);
    return changed;
  }

  /// Of the pixels outside `except`.
  int largestError(const PixelRect& except = {}) {
    int largest = 0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        if (!intersection(except, {x, y, 1, 1}).isEmpty()) continue;
        for (int i = 0; i < 3; ++i)
          largest = std::max(largest,
                             std::abs(pixels().at(x, y)[i] -
                                      desktop[static_cast<std::size_t>((y * width + x) * 4 + i)]));
      }
    }
    return largest;
  }

  std::vector<std::uint8_t> desktop = std::vector<std::uint8_t>(width * height * 4);
  std::vector<std::uint8_t> seen;
  OwnSurfaces surfaces;
  PictureBeneath beneath{output};
};

TEST_F(PictureBeneathTest, LeavesAPictureWithoutOwnSurfacesAlone) {
  add({5, 5, 20, 20}, 0x80404040, output + 1);
  show();
  EXPECT_TRUE(uncover().empty());
  EXPECT_EQ(seen, desktop);
}

TEST_F(PictureBeneathTest, UndoesABlendInEveryPicture) {
  add({5, 5, 20, 20}, 0x80402010);
  for (int i = 0; i < 3; ++i) {
    show();
    EXPECT_GT(largestError(), 20);
    EXPECT_TRUE(uncover().empty()) << "what lies beneath has not changed";
    EXPECT_LE(largestError(), 1);
    EXPECT_EQ(largestError({5, 5, 20, 20}), 0);
  }
}

TEST_F(PictureBeneathTest, UndoesFromTheTopmostDown) {
  add({0, 0, 40, 40}, 0x60301000);
  add({10, 10, 40, 30}, 0x40103020);
  show();
  uncover();
  EXPECT_LE(largestError(), 2);
}

TEST_F(PictureBeneathTest, KeepsWithinThePicture) {
  add({-10, -10, 20, 20}, 0x80402010);
  add({width - 5, height - 5, 50, 50}, 0x80402010);
  add({width, 0, 50, 50}, 0x80402010);
  show();
  uncover();
  EXPECT_LE(largestError(), 1);
}

TEST_F(PictureBeneathTest, LeavesWhatNothingWasLaidOverAsItIs) {
  const PixelRect area{0, 0, width, height};
  {
    const OwnSurfaces::Change change(surfaces);
    auto frame = picture(area, 0);
    std::fill_n(frame->begin(), 2 * width, 0xff804020);
    surfaces.add({output, area, frame});
  }
  show();
  uncover();
  EXPECT_EQ(largestError({0, 0, width, 2}), 0);
  EXPECT_EQ(*pixels().at(9, 1), *pixels().at(9, 2)) << "filled";
}

TEST_F(PictureBeneathTest, FillsWhatCannotBeUndone) {
  std::ranges::fill(desktop, 90);
  for (const std::uint32_t pixel : {0xff102030U, 0xf3102030U}) {
    const auto number = add({20, 20, 10, 10}, pixel);
    show();
    EXPECT_EQ(uncover(), (std::vector<PixelRect>{{20, 20, 10, 10}})) << "looks otherwise now";
    EXPECT_EQ(largestError(), 0);
    const OwnSurfaces::Change change(surfaces);
    surfaces.remove(number);
    show();
    EXPECT_EQ(uncover().size(), 1U) << "is what it is again";
  }
}

TEST_F(PictureBeneathTest, FillsAPixelMoreAroundWhatIsNotKnown) {
  std::ranges::fill(desktop, 90);
  addUnknown({20, 20, 10, 10});
  show();
  *pixels().at(19, 25) = 200;
  *pixels().at(30, 25) = 200;
  uncover();
  EXPECT_EQ(largestError(), 0);
}

TEST_F(PictureBeneathTest, ChangesWhatIsFilledWithThePixelsAroundIt) {
  const PixelRect area{20, 20, 10, 10};
  add(area, 0xff102030);
  show();
  uncover();
  const auto changedWith = [&](const PixelRect& rect) {
    show();
    return uncover({rect}).size() > 1;
  };
  EXPECT_FALSE(changedWith({0, 0, 19, 48}));
  EXPECT_TRUE(changedWith({0, 0, 20, 48}));
  EXPECT_TRUE(changedWith({25, 30, 1, 1}));
  EXPECT_FALSE(changedWith({25, 31, 1, 1}));
}

TEST_F(PictureBeneathTest, FillsWhatDoesNotLookBlended) {
  std::ranges::fill(desktop, 90);
  add({20, 20, 10, 10}, 0xcc808080);
  show();
  EXPECT_TRUE(uncover().empty());
  // A fade: the surface is there in part only.
  seen = desktop;
  for (int y = 20; y < 30; ++y) {
    for (int x = 20; x < 30; ++x) lay(pixels().at(x, y), 0x11111111);
  }
  EXPECT_EQ(uncover(), (std::vector<PixelRect>{{20, 20, 10, 10}}));
  EXPECT_EQ(largestError(), 0);
  show();
  EXPECT_EQ(uncover(), (std::vector<PixelRect>{{20, 20, 10, 10}})) << "undone again";
  EXPECT_LE(largestError(), 2);
}

TEST_F(PictureBeneathTest, IsNotMistakenForAPointerAboveASurface) {
  add({0, 0, width, 20}, 0xcc808080);
  show();
  const PixelRect pointer{10, 2, 15, 18};
  for (int y = pointer.y; y < pointer.bottom(); ++y) {
    for (int x = pointer.x; x < pointer.right(); ++x)
      std::fill_n(pixels().at(x, y), 3, std::uint8_t{0});
  }
  EXPECT_TRUE(uncover().empty());
  EXPECT_LE(largestError(pointer), 2);
  EXPECT_EQ(*pixels().at(12, 9), 0) << "black above it is black";
}

TEST_F(PictureBeneathTest, UndoesTheLowerOfTwoWhereTheUpperIsFilled) {
  std::ranges::fill(desktop, 90);
  add({0, 0, 40, 20}, 0x80402010);
  add({5, 5, 30, 12}, 0xff204060);
  show();
  uncover();
  EXPECT_LE(largestError(), 1);
}

}  // namespace
}  // namespace vesk::wayland::beneath::VESK_FILE

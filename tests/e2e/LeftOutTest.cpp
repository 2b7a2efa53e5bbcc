#include <gtest/gtest.h>

#include "e2e/TwinDesktops.h"
#include "support/Patience.h"
#include "support/XResources.h"

namespace vesk::testing::VESK_FILE {
namespace {

using Kind = PresenceDesktop::Kind;
using picture::PixelRect;

constexpr PixelRect beneathTheAlert{300, 220, 120, 90};
constexpr PixelRect acrossTheAlert{150, 150, 250, 200};
constexpr PixelRect beneathTheStrip{180, 2, 200, 60};
constexpr PixelRect atTheEdge{-40, 300, 200, 150};

/// What a compositor alone knows of: the shadows that it draws, the gradient of Mutter's wallpaper,
/// in which its drawing leaves some noise, and the corners, outlines and buttons of KWin's
/// frames.
Tolerance toleranceOf(Kind kind) {
  switch (kind) {
    case Kind::xfwm4Compositing:
      return {.levels = 0, .pixels = 16'000, .loud = 0};
    case Kind::mutter:
      return {.levels = 32, .pixels = 16'000, .loud = 40};
    case Kind::kwin:
      return {.levels = 0, .pixels = 16'000, .loud = 1'000};
    default:
      return {};
  }
}

class LeftOutTest : public ::testing::TestWithParam<Kind> {
 protected:
  /// A strip opens and closes while a compositor may still show what was there a moment ago.
  void expectNothingBeneathAStrip(const std::string& step) {
    twins.isQuiet(0);
    const auto strip = twins.openOwn({200, 0, 400, 26});
    expectTheSame("beneath " + step);
    twins.closeOwn(strip);
    expectTheSame("after " + step);
  }

  void expectTheSame(const std::string& step) {
    const auto limit = toleranceOf(GetParam());
    const auto left = twins.settledDifference(limit);
    const bool same = left.isWithin(limit);
    EXPECT_TRUE(same) << step << ": " << left.pixels << " pixels differ by up to " << left.most
                      << ", " << left.loud << " of them loudly, within " << left.area.width << "x"
                      << left.area.height << "+" << left.area.x << "+" << left.area.y;
    RecordProperty(step, left.pixels);
    EXPECT_EQ(twins.ownPixelsSeen(), 0) << step;
    if (!same) keepPicture(twins.grabbed(), TwinDesktops::width, step);
    if (!same) keepPicture(twins.reference(), TwinDesktops::width, step + "-expected");
  }

  TwinDesktops twins{GetParam()};
};

TEST_P(LeftOutTest, ShowsWhatLiesBeneathWindowsThatOpenLater) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.open(beneathTheStrip, {0xc0c040});
  twins.capture();
  expectTheSame("before");
  twins.openAllOwn();
  expectTheSame("open");
  twins.closeAllOwn();
  expectTheSame("closed");
  twins.openAllOwn();
  expectTheSame("again");
}

TEST_P(LeftOutTest, FollowsWhatIsDrawnBeneath) {
  const int small = twins.open(beneathTheAlert, {0x4040c0});
  const int top = twins.open(beneathTheStrip, {0xc0c040});
  const int side = twins.open(atTheEdge, {0x808080});
  twins.capture();
  twins.openAllOwn();
  expectTheSame("open");
  twins.draw(small, {10, 10, 40, 30}, 0xf0f0f0);
  expectTheSame("drawn beneath the alert");
  twins.draw(top, {30, 5, 100, 12}, 0x202020);
  expectTheSame("drawn beneath the strip");
  twins.draw(side, {38, 20, 9, 60}, 0xffff00);
  expectTheSame("drawn beneath the edge");
  for (int i = 0; i < 20; ++i) {
    twins.draw(small, {i * 5, i * 4, 5, 4}, 0x00ff00U + static_cast<unsigned>(i));
    expectTheSame("stroke " + std::to_string(i));
  }
}

TEST_P(LeftOutTest, FollowsWindowsThatMoveBeneath) {
  const int moving = twins.open(acrossTheAlert, {0x40c040});
  const int other = twins.open(beneathTheAlert, {0x4040c0});
  twins.draw(moving, {20, 20, 50, 150}, 0xf08020);
  twins.capture();
  twins.openAllOwn();
  expectTheSame("open");
  for (int i = 0; i < 10; ++i) {
    twins.move(moving, {150 + i * 30, 150 - i * 15, 250, 200});
    expectTheSame("step " + std::to_string(i));
  }
  twins.raise(moving);
  expectTheSame("raised");
  twins.raise(other);
  expectTheSame("covered");
  twins.move(moving, {240, 180, 330, 190});
  expectTheSame("resized");
  twins.close(other);
  expectTheSame("closed");
  twins.unmap(moving);
  expectTheSame("unmapped");
  twins.open({270, 210, 200, 120}, {0xc04040});
  expectTheSame("opened");
}

TEST_P(LeftOutTest, ShowsEveryKindOfWindowBeneath) {
  const int cut = twins.open({260, 180, 100, 120}, {0x40c040});
  twins.cutOff(cut, {10, 15, 60, 80});
  // KWin cuts a window off by its border.
  twins.open({380, 230, 80, 60}, {.colour = 0xc0c040, .border = GetParam() == Kind::kwin ? 0 : 6});
  twins.open({430, 200, 90, 120}, {.colour = 0x80402010, .alpha = true});
  twins.capture();
  twins.openAllOwn();
  expectTheSame("open");
  twins.cutOff(cut, {0, 40, 100, 40});
  expectTheSame("cut otherwise");
  twins.open({535, 280, 200, 120}, {.colour = 0x5090a0, .managed = true});
  expectTheSame("managed");
}

TEST_P(LeftOutTest, FollowsFramesThatMoveBeneath) {
  const int window = twins.open({120, 150, 200, 120}, {.colour = 0x5090a0, .managed = true});
  twins.capture();
  twins.openAllOwn();
  expectTheSame("open");
  twins.draw(window, {10, 10, 60, 100}, 0xf08020);
  expectTheSame("drawn");
  for (int i = 1; i <= 6; ++i) {
    twins.move(window, {120 + i * 40, 150 - i * 20, 200, 120});
    expectTheSame("step " + std::to_string(i));
  }
  twins.move(window, {300, 60, 250, 160});
  expectTheSame("resized");
  twins.close(window);
  expectTheSame("closed");
}

TEST_P(LeftOutTest, FollowsOwnWindowsThatMoveAndClose) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.capture();
  const auto strip = twins.openOwn({200, 0, 400, 26});
  const auto alert = twins.openOwn({250, 200, 300, 150}, true);
  expectTheSame("open");
  for (int i = 1; i < 8; ++i) {
    twins.moveOwn(strip, 200 - i * 20, i * 25);
    twins.moveOwn(alert, 250 + i * 20, 200 - i * 10);
    expectTheSame("step " + std::to_string(i));
  }
  twins.closeOwn(alert);
  expectTheSame("alert closed");
  twins.closeOwn(strip);
  expectTheSame("strip closed");
}

TEST_P(LeftOutTest, LeavesOutWindowsThatWereThereBefore) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.openAllOwn();
  twins.capture();
  expectTheSame("open");
  EXPECT_EQ(count(twins.grabbed(), TwinDesktops::ownColour), 0);
}

TEST_P(LeftOutTest, ShowsTheWallpaperBeneath) {
  const int window = twins.open(acrossTheAlert, {0x40c040});
  twins.setWallpaper(0x60a0e0);
  twins.capture();
  expectTheSame("before");
  twins.openAllOwn();
  expectTheSame("open");
  twins.close(window);
  expectTheSame("uncovered");
  twins.setWallpaper(0xe0a060);
  expectTheSame("replaced");
}

TEST_P(LeftOutTest, FollowsAWindowThatAnotherOfItsNumberReplaces) {
  const int window = twins.open(beneathTheAlert, {0x40c040});
  twins.capture();
  twins.openAllOwn();
  expectTheSame("open");
  twins.replace(window, beneathTheAlert, 0x4040c0);
  expectTheSame("replaced");
  twins.draw(window, {10, 10, 40, 30}, 0xf0f0f0);
  expectTheSame("drawn");
  twins.cutOff(window, {0, 0, 60, 60});
  expectTheSame("cut");
}

/// A compositor shows it where it was for a moment longer than it is there.
TEST_P(LeftOutTest, KeepsNoTraceOfAWindowThatMovedJustBefore) {
  constexpr PixelRect left{210, 2, 200, 300};
  constexpr PixelRect right{410, 2, 200, 300};
  const int window = twins.open(left, {0x40c040});
  twins.capture();
  for (int i = 0; i < 4 && !HasFailure(); ++i) {
    twins.move(window, left);
    expectTheSame("before " + std::to_string(i));
    twins.isQuiet(300);
    twins.move(window, right);
    expectNothingBeneathAStrip(std::to_string(i));
  }
}

TEST_P(LeftOutTest, KeepsNoTraceOfAWindowThatClosedJustBefore) {
  twins.capture();
  for (int i = 0; i < 2 && !HasFailure(); ++i) {
    const int window = twins.open({210, 2, 300, 300}, {.colour = 0x40c040});
    expectTheSame("before " + std::to_string(i));
    twins.isQuiet(300);
    twins.close(window);
    expectNothingBeneathAStrip(std::to_string(i));
  }
}

/// The person has just allowed the viewer to look.
TEST_P(LeftOutTest, LeavesOutAnAlertThatClosedJustBefore) {
  const auto alert = twins.openOwn({250, 200, 300, 150}, true);
  ASSERT_TRUE(
      waitUntil([&] { return count(twins.captured(), TwinDesktops::ownColour) == 300 * 150; }));
  twins.closeOwn(alert);
  twins.capture();
  const auto strip = twins.openOwn({100, 240, 400, 26});
  expectTheSame("beneath the strip");
  twins.closeOwn(strip);
  expectTheSame("after");
}

/// It paints everything grey where the root window names no wallpaper.
TEST(LeftOutWithPicomTest, ShowsABackgroundThatNobodyHadSeen) {
  TwinDesktops twins(Kind::openboxPicom);
  const int window = twins.open({0, 0, TwinDesktops::width, TwinDesktops::height}, {0x40c040});
  twins.capture();
  const auto strip = twins.openOwn({200, 0, 400, 26});
  EXPECT_TRUE(twins.settledDifference().isNone()) << "hidden";
  twins.close(window);
  EXPECT_TRUE(twins.settledDifference().isNone()) << "in sight beside the strip";
  twins.moveOwn(strip, 210, 10);
  EXPECT_TRUE(twins.settledDifference().isNone()) << "moved";
}

std::string name(const ::testing::TestParamInfo<Kind>& info) { return nameOf(info.param); }

INSTANTIATE_TEST_SUITE_P(Desktops, LeftOutTest, ::testing::ValuesIn(everyDesktop), name);

class LeftOutWithoutCompositorTest : public ::testing::TestWithParam<Kind> {
 protected:
  TwinDesktops twins{GetParam()};
};

TEST_P(LeftOutWithoutCompositorTest, ShowsTheRootWindowBeneath) {
  const int window = twins.open(beneathTheAlert, {0x40c040});
  twins.paintRoot({220, 180, 360, 20}, 0xf08020);
  twins.paintRoot({0, 100, 8, 50}, 0xf08020);
  twins.capture();
  twins.openAllOwn();
  EXPECT_TRUE(twins.settledDifference().isNone());
  twins.close(window);
  EXPECT_TRUE(twins.settledDifference().isNone()) << "a background that no one ever saw";
  EXPECT_EQ(twins.ownPixelsSeen(), 0);
}

TEST_P(LeftOutWithoutCompositorTest, ShowsAnotherColourOfTheRootWindow) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.capture();
  twins.openAllOwn();
  EXPECT_TRUE(twins.settledDifference().isNone());
  twins.setRootColour(0xc08040);
  EXPECT_TRUE(twins.settledDifference().isNone());
}

TEST_P(LeftOutWithoutCompositorTest, LetsGoOfWhatItComposedWith) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.capture();
  const auto cycle = [&] {
    twins.openAllOwn();
    EXPECT_TRUE(twins.settledDifference().isNone());
    twins.closeAllOwn();
    EXPECT_TRUE(twins.settledDifference().isNone());
    return twins.isQuiet(100);
  };
  ASSERT_TRUE(waitUntil(cycle));
  const auto before = countXResources();
  for (int i = 0; i < 20; ++i) cycle();
  EXPECT_TRUE(waitUntil([&] {
    twins.isQuiet(50);
    return countXResources().objects <= before.objects;
  })) << countXResources().objects
      << " instead of " << before.objects;
}

TEST_P(LeftOutWithoutCompositorTest, FollowsACompositorThatComesAndGoes) {
  twins.setWallpaper(0x60a0e0);
  const int window = twins.open(acrossTheAlert, {0x40c040});
  twins.open(beneathTheAlert, {.colour = 0x80402010, .alpha = true});
  twins.capture();
  twins.openAllOwn();
  EXPECT_TRUE(twins.settledDifference().isNone()) << "before";
  twins.startCompositor();
  EXPECT_TRUE(twins.settledDifference().isNone()) << "composed";
  twins.move(window, {170, 180, 250, 200});
  EXPECT_TRUE(twins.settledDifference().isNone()) << "moved";
  twins.stopCompositor();
  EXPECT_TRUE(twins.settledDifference().isNone()) << "after";
  EXPECT_EQ(twins.ownPixelsSeen(), 0);
}

TEST_P(LeftOutWithoutCompositorTest, DoesNothingWhileNothingHappens) {
  twins.open(acrossTheAlert, {0x40c040});
  twins.capture();
  twins.openAllOwn();
  ASSERT_TRUE(twins.settledDifference().isNone());
  ASSERT_TRUE(waitUntil([&] { return twins.isQuiet(300); }));
  EXPECT_TRUE(twins.isQuiet(1000));
}

INSTANTIATE_TEST_SUITE_P(Desktops, LeftOutWithoutCompositorTest,
                         ::testing::Values(Kind::bare, Kind::openbox, Kind::xfwm4), name);

}  // namespace
}  // namespace vesk::testing::VESK_FILE

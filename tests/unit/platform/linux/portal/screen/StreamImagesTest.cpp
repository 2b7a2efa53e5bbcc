#include "platform/linux/portal/screen/StreamImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>

#include "platform/linux/portal/screen/streamErrors.h"
#include "support/CastImages.h"
#include "support/Mutter.h"
#include "support/MutterCast.h"
#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/WlWindow.h"
#include "support/XServer.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

using testing::CastImages;
using testing::imageOf;
using testing::largestDifference;
using testing::MutterCast;
using testing::MutterHand;
using testing::WlWindow;

constexpr PixelSize monitor{640, 400};

std::vector<std::uint32_t> noise(PixelSize size) {
  std::mt19937 random(7);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(size.width * size.height));
  for (auto& pixel : pixels) pixel = random() & 0xffffffU;
  return pixels;
}

class StreamImagesTest : public ::testing::Test {
 protected:
  StreamImagesTest() { mutter.enter(); }

  static bool shows(CastImages& images, const std::vector<std::uint32_t>& pixels) {
    const auto expected = imageOf(pixels, monitor);
    return images.waitUntil(
        [&](const auto& image) { return largestDifference(image, *expected) == 0; });
  }

  testing::Mutter mutter{{monitor, false, false}};
};

TEST_F(StreamImagesTest, AreOfEveryPixelAsItWasPainted) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  const auto pixels = noise(window.size());
  window.paint({0, 0, 640, 400}, pixels);
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(images.source().mayDiffer()) << "the first is there at once";
  EXPECT_TRUE(shows(images, pixels));
}

TEST_F(StreamImagesTest, AreNoneOfAStillScreen) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain();
  EXPECT_EQ(images.next(1000), nullptr);
  EXPECT_FALSE(images.source().isHeldBack());
  EXPECT_EQ(images.source().nextLook(), stream::ImageSource::Time::max());
}

TEST_F(StreamImagesTest, TellExactlyWhatHasChanged) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain();
  constexpr int across = 640 / picture::macroblockEdge;
  for (int i = 0; i < 6; ++i) {
    window.fill(100, 134, 50, 50, i % 2 == 0 ? 0xffffff : 0);
    const auto image = images.next(testing::patience());
    ASSERT_NE(image, nullptr);
    for (std::size_t block = 0; block < image->changedAt.size(); ++block) {
      const auto column = static_cast<int>(block) % across;
      const auto row = static_cast<int>(block) / across;
      const bool isTouched = column >= 6 && column <= 9 && row >= 8 && row <= 11;
      ASSERT_EQ(image->changedAt[block] == image->sequence, isTouched) << column << "," << row;
    }
    EXPECT_EQ(image->luma()[150 * image->stride() + 120], i % 2 == 0 ? 235 : 16);
    EXPECT_EQ(images.drain(100), 0) << "one image for one change";
  }
}

TEST_F(StreamImagesTest, LoseNoChangeHoweverManyThereAre) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  auto pixels = std::vector<std::uint32_t>(640 * 400, 0x204060);
  std::mt19937 random(3);
  for (int i = 0; i < 100; ++i) {
    const auto x = static_cast<int>(random() % 600);
    const auto y = static_cast<int>(random() % 360);
    const std::uint32_t colour = random() & 0xffffffU;
    window.fill(x, y, 40, 40, colour);
    for (int row = y; row < y + 40; ++row) std::fill_n(pixels.begin() + row * 640 + x, 40, colour);
    images.next(0);
  }
  EXPECT_TRUE(shows(images, pixels));
}

TEST_F(StreamImagesTest, FollowAPageThatScrolls) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  auto pixels = noise(monitor);
  for (int i = 0; i < 10; ++i) {
    std::rotate(pixels.begin(), pixels.begin() + 640 * 13, pixels.end());
    window.paint({0, 0, 640, 400}, pixels);
    ASSERT_TRUE(shows(images, pixels)) << i;
  }
}

TEST_F(StreamImagesTest, AreMadeInTheSizeThatIsWished) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  window.fill(0, 0, 320, 400, 0xffffff);
  window.fill(320, 0, 320, 400, 0);
  MutterCast cast(mutter);
  CastImages images(cast, {320, 200});
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_TRUE(images.waitUntil([](const auto& image) { return image.luma()[0] == 235; }));
  EXPECT_EQ(images.last()->size(), (PixelSize{320, 200}));
  EXPECT_EQ(images.last()->luma()[100 * images.last()->stride() + 319], 16);
}

/// The desktop has a few buffers. Where none comes back, neither does what would bring it back.
TEST_F(StreamImagesTest, GoOnAfterNobodyHasLookedForLong) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  MutterCast cast(mutter);
  CastImages images(cast, monitor, {false, 240, nullptr});
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain();
  for (int i = 0; i < 20; ++i) {
    window.fill(20 * i, 100, 20, 20, 0xffffff);
    ASSERT_TRUE(window.waitUntilShown());
  }
  auto pixels = std::vector<std::uint32_t>(640 * 400, 0x204060);
  for (int y = 100; y < 120; ++y) std::fill_n(pixels.begin() + y * 640, 400, 0xffffff);
  EXPECT_TRUE(shows(images, pixels));
  window.fill(0, 0, 640, 400, 0x204060);
  EXPECT_TRUE(shows(images, std::vector<std::uint32_t>(640 * 400, 0x204060)));
}

/// This desktop ends the stream of a monitor that changes.
TEST_F(StreamImagesTest, EndWhenTheMonitorIsTurned) {
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  const testing::ChildProcess turn({"/usr/bin/python3", "-B", VESK_TURN_MONITOR},
                                   mutter.environment());
  EXPECT_EQ(images.waitForEnd(), streamError::stopped);
}

TEST_F(StreamImagesTest, EndWhenThePersonStopsSharing) {
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  cast.stop();
  EXPECT_EQ(images.waitForEnd(), streamError::stopped);
}

TEST_F(StreamImagesTest, EndWithTheDesktop) {
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  mutter.killCompositor();
  EXPECT_EQ(images.waitForEnd(), streamError::stopped);
}

TEST_F(StreamImagesTest, EndWithPipeWire) {
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  mutter.killPipeWire();
  EXPECT_EQ(images.waitForEnd(), streamError::serviceGone);
}

TEST_F(StreamImagesTest, DoNotBeginWithoutAStream) {
  MutterCast cast(mutter);
  StreamConfiguration configuration;
  configuration.width = monitor.width;
  configuration.height = monitor.height;
  StreamImages ofNoNode(cast.remote(), cast.node() + 1000, 0, configuration, nullptr);
  EXPECT_EQ(ofNoNode.open(-1), streamError::notReadable);
  StreamImages ofNoRemote(Descriptor(), cast.node(), 0, configuration, nullptr);
  EXPECT_EQ(ofNoRemote.open(-1), streamError::notReadable);
}

TEST_F(StreamImagesTest, WaitForAPictureOnlySoLong) {
  MutterCast cast(mutter);
  CastImages images(cast, monitor);
  ::kill(mutter.compositorPid(), SIGSTOP);
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(images.open(), streamError::noPicture);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(8));
  ::kill(mutter.compositorPid(), SIGCONT);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE

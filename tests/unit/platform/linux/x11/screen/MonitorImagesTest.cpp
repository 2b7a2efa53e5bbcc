#include "platform/linux/x11/screen/MonitorImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>

#include "platform/linux/x11/screen/streamErrors.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XServer;

class MonitorImagesTest : public ::testing::Test {
 protected:
  MonitorImagesTest() : MonitorImagesTest("320x200x24") {}

  explicit MonitorImagesTest(const std::string& screen) : server(screen) {
    configuration.width = 160;
    configuration.height = 100;
  }

  MonitorImages of(const ShareableDisplay& listed) { return {listed, configuration, nullptr}; }

  /// Makes one monitor of the person's own out of a part of the screen.
  static void defineMonitor(const std::string& geometry) {
    const std::string command = "xrandr --setmonitor own " + geometry + " screen";
    ASSERT_EQ(std::system(command.c_str()), 0);
  }

  static ShareableDisplay mainDisplay() {
    server::XDisplays displays;
    const auto id = displays.mainDisplay();
    const auto size = displays.pixels(id);
    return {id, size.width, size.height};
  }

  XServer server;
  DisplayVariable variable{server.display()};
  ShareableDisplay display = mainDisplay();
  StreamConfiguration configuration;
};

TEST_F(MonitorImagesTest, AreOfTheSizeAskedForAndOnlyWhereThereIsSomethingNew) {
  auto images = of(display);
  ASSERT_EQ(images.open(-1), std::nullopt);
  EXPECT_TRUE(images.mayDiffer());
  const auto first = images.take();
  ASSERT_NE(first.image, nullptr);
  EXPECT_EQ(first.image->size().width, 160);
  EXPECT_EQ(first.image->size().height, 100);
  // What the server has drawn while it began.
  while (images.mayDiffer()) {
    images.take();
    ASSERT_EQ(images.follow(), std::nullopt);
  }
  const auto none = images.take();
  EXPECT_EQ(none.image, nullptr);
  EXPECT_EQ(none.error, std::nullopt);

  testing::XPainter painter;
  painter.fill(0, 0, 320, 200, 0xffffff);
  EXPECT_TRUE(testing::waitUntil(
      [&] { return !images.follow() && images.mayDiffer() && images.take().image != nullptr; }));
  EXPECT_FALSE(images.isHeldBack());
}

TEST_F(MonitorImagesTest, SayThatThereIsNoSuchDisplay) {
  EXPECT_EQ(of({display.displayID + 1000, 320, 200}).open(-1), streamError::displayGone);
}

TEST_F(MonitorImagesTest, SayThatTheServerIsGone) {
  auto images = of(display);
  ASSERT_EQ(images.open(-1), std::nullopt);
  server.kill();
  EXPECT_TRUE(testing::waitUntil([&] { return images.follow() == streamError::serverGone; }));
  images.close();
  EXPECT_EQ(of(display).open(-1), streamError::serverGone);
}

TEST_F(MonitorImagesTest, AreOfTheMonitorsAreaWhereItIsAPartOfWhatItsModeHas) {
  defineMonitor("100/100x60/60+200+120");
  testing::XPainter painter;
  painter.fill(0, 0, 320, 200, 0xff0000);
  painter.fill(200, 120, 100, 60, 0xffffff);
  const auto part = mainDisplay();
  EXPECT_EQ(part.width, 100);
  EXPECT_EQ(part.height, 60);
  EXPECT_EQ(server::XDisplays().modePixels(part.displayID), (PixelSize{100, 60}));
  // Larger than the monitor, too.
  for (const PixelSize size : {PixelSize{100, 60}, {320, 200}, {50, 30}}) {
    configuration.width = size.width;
    configuration.height = size.height;
    auto images = of(part);
    ASSERT_EQ(images.open(-1), std::nullopt);
    const auto taken = images.take();
    ASSERT_NE(taken.image, nullptr);
    const auto& image = dynamic_cast<const picture::Nv12Image&>(*taken.image);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        ASSERT_EQ(image.luma()[y * image.stride() + x], 235) << x << "," << y;
      }
    }
  }
}

TEST_F(MonitorImagesTest, AreOfWhatLiesOnTheScreenOfAMonitorThatReachesBeyond) {
  defineMonitor("300/100x200/60+240+150");
  EXPECT_EQ(mainDisplay().width, 80);
  EXPECT_EQ(mainDisplay().height, 50);
  auto images = of(mainDisplay());
  EXPECT_EQ(images.open(-1), std::nullopt);
  EXPECT_NE(images.take().image, nullptr);
}

TEST_F(MonitorImagesTest, EndWhenTheMonitorIsDefinedAnew) {
  defineMonitor("200/100x100/60+0+0");
  auto images = of(mainDisplay());
  ASSERT_EQ(images.open(-1), std::nullopt);
  std::ignore = std::system("xrandr --delmonitor own");
  defineMonitor("100/100x60/60+200+120");
  std::optional<PlatformError> error;
  EXPECT_TRUE(testing::waitUntil([&] { return (error = images.follow()).has_value(); }));
  EXPECT_EQ(error, streamError::displayChanged);
}

TEST_F(MonitorImagesTest, DoNotBeginForADisplayThatHasChangedSinceItWasListed) {
  const auto listed = display;
  defineMonitor("100/100x60/60+200+120");
  EXPECT_EQ(of({mainDisplay().displayID, listed.width, listed.height}).open(-1),
            streamError::displayChanged);
}

class DeepColourTest : public MonitorImagesTest {
 protected:
  DeepColourTest() : MonitorImagesTest("320x200x30") {}
};

TEST_F(DeepColourTest, LooksLikeAnyOther) {
  testing::XPainter painter;
  const auto red = 1023U << 20U;
  const auto grey = 512U << 20U | 512U << 10U | 512U;
  painter.fill(0, 0, 320, 200, red);
  painter.fill(160, 0, 160, 200, grey);
  configuration.showsCursor = true;
  painter.showArrow();
  painter.movePointer(250, 100);
  auto images = of(display);
  ASSERT_EQ(images.open(-1), std::nullopt);
  const auto taken = images.take();
  ASSERT_NE(taken.image, nullptr);
  const auto& image = dynamic_cast<const picture::Nv12Image&>(*taken.image);
  const auto chroma = [&](int x, int y) {
    return image.chroma() + y / 2 * image.stride() + x / 2 * 2;
  };
  EXPECT_NEAR(image.luma()[20 * image.stride() + 20], 81, 2);
  EXPECT_NEAR(chroma(20, 20)[0], 90, 2);
  EXPECT_NEAR(chroma(20, 20)[1], 240, 2);
  EXPECT_NEAR(image.luma()[20 * image.stride() + 100], 126, 2);
  EXPECT_NEAR(chroma(100, 20)[1], 128, 2);
  int darkest = 255;
  for (int y = 40; y < 70; ++y) {
    for (int x = 115; x < 140; ++x) {
      darkest = std::min<int>(darkest, image.luma()[y * image.stride() + x]);
    }
  }
  EXPECT_LT(darkest, 60) << "the pointer";
}

class FewColoursTest : public MonitorImagesTest {
 protected:
  FewColoursTest() : MonitorImagesTest("320x200x16") {}
};

TEST_F(FewColoursTest, AreRefusedInWords) {
  EXPECT_EQ(of(display).open(-1), streamError::strangeColours);
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE

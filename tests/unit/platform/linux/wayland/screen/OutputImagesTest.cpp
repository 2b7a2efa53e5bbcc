#include "platform/linux/wayland/screen/OutputImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <string>

#include "platform/linux/wayland/screen/streamErrors.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "support/Patience.h"
#include "support/Sway.h"
#include "support/WlImages.h"
#include "support/WlWindow.h"

namespace vesk::wayland::screen::VESK_FILE {
namespace {

using testing::imageOf;
using testing::largestDifference;
using testing::Sway;
using testing::waitUntil;
using testing::WlImages;
using testing::WlWindow;

std::vector<std::uint32_t> noise(PixelSize size) {
  std::mt19937 random(7);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(size.width * size.height));
  for (auto& pixel : pixels) pixel = random() & 0xffffffU;
  return pixels;
}

void paint(WlWindow& window, const std::vector<std::uint32_t>& pixels) {
  const auto size = window.size();
  window.paint(
      {0, 0, static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)},
      pixels);
}

class OutputImagesTest : public ::testing::Test {
 protected:
  OutputImagesTest() { sway.enter(); }

  static bool shows(WlImages& images, const std::vector<std::uint32_t>& pixels) {
    const auto expected = imageOf(pixels, images.size());
    return images.waitUntil(
        [&](const auto& image) { return largestDifference(image, *expected) == 0; });
  }

  /// Whether nothing comes any more, but for what this compositor tells of now and then: that all
  /// has changed, while nothing has.
  static bool staysAsItIs(WlImages& images) {
    const auto before = images.last();
    return images.drain(100) <= 1 && largestDifference(*before, *images.last()) == 0;
  }

  /// The display of another size than before, once it is known.
  static bool becomes(PixelSize points) {
    server::WlDisplays displays;
    return waitUntil([&] { return displays.pixels(displays.mainDisplay()) == points; });
  }

  Sway sway{{"output HEADLESS-1 mode 640x400@60Hz"}};
};

TEST_F(OutputImagesTest, AreOfEveryPixelAsItWasPainted) {
  WlWindow window;
  WlImages images;
  const auto pixels = noise(window.size());
  paint(window, pixels);
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(images.source().mayDiffer()) << "the first is there at once";
  EXPECT_TRUE(shows(images, pixels));
}

TEST_F(OutputImagesTest, TellExactlyWhatHasChanged) {
  WlWindow window;
  WlImages images;
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
    EXPECT_TRUE(staysAsItIs(images)) << "one image for one change";
  }
}

TEST_F(OutputImagesTest, LoseNoChangeHoweverManyThereAre) {
  WlWindow window;
  WlImages images;
  ASSERT_EQ(images.open(), std::nullopt);
  auto pixels = std::vector<std::uint32_t>(640 * 400, 0x204060);
  std::mt19937 random(3);
  for (int i = 0; i < 200; ++i) {
    const auto x = static_cast<int>(random() % 600);
    const auto y = static_cast<int>(random() % 360);
    const std::uint32_t colour = random() & 0xffffffU;
    window.fill(x, y, 40, 40, colour);
    for (int row = y; row < y + 40; ++row) std::fill_n(pixels.begin() + row * 640 + x, 40, colour);
    images.next(0);
  }
  EXPECT_TRUE(shows(images, pixels));
}

TEST_F(OutputImagesTest, AreNoneOfAStillScreen) {
  WlWindow window;
  WlImages images;
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain();
  EXPECT_TRUE(staysAsItIs(images));
  EXPECT_EQ(images.next(1000), nullptr);
  EXPECT_FALSE(images.source().isHeldBack());
}

TEST_F(OutputImagesTest, AreTurnedAsThePersonSeesThem) {
  for (const auto* transform :
       {"90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270"}) {
    sway.command("output HEADLESS-1 transform " + std::string(transform));
    const bool isUpright =
        std::string(transform).ends_with("90") || std::string(transform).ends_with("270");
    const PixelSize size = isUpright ? PixelSize{400, 640} : PixelSize{640, 400};
    ASSERT_TRUE(becomes(size)) << transform;
    WlWindow window;
    auto pixels = noise(size);
    paint(window, pixels);
    WlImages images;
    ASSERT_EQ(images.size(), size);
    ASSERT_EQ(images.open(), std::nullopt);
    EXPECT_TRUE(shows(images, pixels)) << transform;
    // What changes afterwards is brought to its place too.
    for (int i = 0; i < 5; ++i) {
      window.fill(30 + 50 * i, 90, 40, 30, 0xffffff);
      for (int y = 90; y < 120; ++y)
        std::fill_n(pixels.begin() + y * size.width + 30 + 50 * i, 40, 0xffffff);
      ASSERT_TRUE(shows(images, pixels)) << transform << i;
    }
  }
}

TEST_F(OutputImagesTest, AreOfThePanelsPixelsWhereAPointIsTwo) {
  sway.command("output HEADLESS-1 scale 2");
  ASSERT_TRUE(becomes({320, 200}));
  testing::WlWindowLook look;
  look.scale = 2;
  WlWindow window(look);
  ASSERT_EQ(window.size(), (PixelSize{640, 400}));
  const auto pixels = noise(window.size());
  paint(window, pixels);
  WlImages images;
  ASSERT_EQ(images.size(), (PixelSize{640, 400}));
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(shows(images, pixels));
}

TEST_F(OutputImagesTest, AreOfThePanelsPixelsWhereAPointIsOneAndAHalf) {
  sway.command("output HEADLESS-1 mode 600x420@60Hz scale 1.5");
  ASSERT_TRUE(becomes({400, 280}));
  testing::WlWindowLook look;
  look.scale = 2;
  look.colour = 0;
  WlWindow window(look);
  WlImages images;
  ASSERT_EQ(images.size(), (PixelSize{600, 420}));
  ASSERT_EQ(images.open(), std::nullopt);
  window.fill(200, 200, 200, 200, 0xffffff);
  const auto luma = [](const auto& image, int x, int y) {
    return image.luma()[y * image.stride() + x];
  };
  EXPECT_TRUE(images.waitUntil([&](const auto& image) { return luma(image, 160, 160) == 235; }));
  EXPECT_EQ(luma(*images.last(), 140, 160), 16);
  EXPECT_EQ(luma(*images.last(), 290, 290), 235);
  EXPECT_EQ(luma(*images.last(), 310, 290), 16);
}

TEST_F(OutputImagesTest, AreOfTheOutputThatIsNamed) {
  sway.command("create_output");
  sway.command("output HEADLESS-2 mode 320x240@60Hz position 640 0 bg #ff0000 solid_color");
  server::Connection connection;
  server::OutputList outputs(connection);
  const auto second = [&] {
    connection.dispatch();
    for (const auto& output : outputs.current()) {
      if (output.area == Rect{{640, 0}, 320, 240}) return output.id;
    }
    return DisplayId{0};
  };
  ASSERT_TRUE(waitUntil([&] { return second() != 0; }));
  testing::WlWindowLook look;
  look.output = second();
  WlWindow window(look);
  const auto pixels = noise({320, 240});
  paint(window, pixels);
  WlImages images(nullptr, false, second());
  WlImages ofMain;
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_EQ(ofMain.open(), std::nullopt);
  EXPECT_TRUE(shows(images, pixels));
  ofMain.drain();
  EXPECT_EQ(ofMain.last()->size(), (PixelSize{640, 400}));
  window.fill(0, 0, 10, 10, 0);
  EXPECT_NE(images.next(testing::patience()), nullptr);
  EXPECT_TRUE(staysAsItIs(ofMain)) << "nothing has changed there";
}

TEST_F(OutputImagesTest, EndWhenTheOutputBecomesAnother) {
  const std::vector<std::string> changes{"mode 800x600@60Hz", "scale 2", "transform 180",
                                         "position 300 200"};
  for (const auto& change : changes) {
    WlWindow window;
    WlImages images;
    ASSERT_EQ(images.open(), std::nullopt) << change;
    images.drain(50);
    sway.command("output HEADLESS-1 " + change);
    EXPECT_EQ(images.waitForEnd(), streamError::displayChanged) << change;
  }
}

/// The compositor would end the connection of whoever brings memory of the size before.
TEST_F(OutputImagesTest, EndInWordsHoweverOftenTheModeChangesUnderThem) {
  WlWindow window;
  for (int i = 0; i < 30; ++i) {
    WlImages images;
    const auto refused = images.open();
    ASSERT_TRUE(!refused || refused == streamError::displayChanged) << i;
    if (refused) continue;
    window.fill(0, 0, 50, 50, static_cast<std::uint32_t>(i) * 5000);
    sway.command(i % 2 == 0 ? "output HEADLESS-1 mode 800x600@60Hz"
                            : "output HEADLESS-1 mode 640x400@60Hz");
    ASSERT_EQ(images.waitForEnd(), streamError::displayChanged) << i;
  }
}

/// A compositor in a window of another one's loses its output with the window.
TEST_F(OutputImagesTest, EndWhenTheOutputGoes) {
  const auto outer = sway.environment();
  const auto folder = outer[0].substr(outer[0].find('=') + 1);
  const auto socket = outer[1].substr(outer[1].find('=') + 1);
  const Sway inner({}, {"WLR_BACKENDS=wayland", "WAYLAND_DISPLAY=" + folder + "/" + socket});
  inner.enter();
  // The outer one gives the window its size a moment after it has come up.
  server::WlDisplays displays;
  ASSERT_TRUE(waitUntil([&] {
    return displays.pixels(displays.mainDisplay()) != PixelSize{1280, 720};
  }));
  WlImages images;
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain(50);
  sway.command("[app_id=\"wlroots\"] kill");
  EXPECT_EQ(images.waitForEnd(), streamError::displayGone);
}

TEST_F(OutputImagesTest, EndWithTheCompositor) {
  WlImages images;
  WlImages another;
  ASSERT_EQ(images.open(), std::nullopt);
  sway.kill();
  EXPECT_EQ(images.waitForEnd(), streamError::compositorGone);
  images.source().close();
  EXPECT_EQ(another.open(), streamError::compositorGone);
}

TEST_F(OutputImagesTest, DoNotWaitForACompositorThatHangs) {
  WlWindow window;
  WlImages images;
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain(50);
  window.fill(0, 0, 10, 10, 0xffffff);
  ASSERT_NE(images.next(testing::patience()), nullptr);
  ::kill(sway.pid(), SIGSTOP);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(images.next(0), nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(250));
  EXPECT_EQ(images.error(), std::nullopt);
  ::kill(sway.pid(), SIGCONT);
  window.fill(0, 0, 10, 10, 0);
  EXPECT_NE(images.next(testing::patience()), nullptr);
}

TEST_F(OutputImagesTest, DoNotBeginForADisplayThatIsNotAsListed) {
  StreamConfiguration configuration;
  configuration.width = 64;
  configuration.height = 40;
  const auto id = server::WlDisplays().mainDisplay();
  EXPECT_EQ(OutputImages({id + 1000, 640, 400}, configuration, nullptr).open(-1),
            streamError::displayGone);
  EXPECT_EQ(OutputImages({id, 640, 401}, configuration, nullptr).open(-1),
            streamError::displayChanged);
  OutputImages images({id, 640, 400}, configuration, nullptr);
  ASSERT_EQ(images.open(-1), std::nullopt);
  EXPECT_EQ(images.take().image->size(), (PixelSize{64, 40}));
}

TEST_F(OutputImagesTest, ShowThePointer) {
  const server::Connection connection;
  const server::Proxy<zwlr_virtual_pointer_manager_v1> manager(
      connection.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface,
                                                       1));
  const server::Proxy<zwlr_virtual_pointer_v1> pointer(
      zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager.get(), nullptr));
  const auto move = [&](std::uint32_t x, std::uint32_t y) {
    zwlr_virtual_pointer_v1_motion_absolute(pointer.get(), 0, x, y, 640, 400);
    zwlr_virtual_pointer_v1_frame(pointer.get());
    connection.flush();
  };
  const auto plain = imageOf(std::vector<std::uint32_t>(640 * 400, 0x204060), {640, 400});
  const auto isAt = [&](const picture::Nv12Image& image, int x, int y) {
    return largestDifference(image, *plain, {x - 24, y - 24, 48, 48}) > 40;
  };
  sway.command("output HEADLESS-1 bg #204060 solid_color");
  move(100, 100);
  WlImages images(nullptr, /*showsCursor=*/true);
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(images.waitUntil([&](const auto& image) { return isAt(image, 100, 100); }));
  move(400, 300);
  EXPECT_TRUE(images.waitUntil([&](const auto& image) {
    return isAt(image, 400, 300) && !isAt(image, 100, 100);
  })) << "it moves and leaves no trace";
}

}  // namespace
}  // namespace vesk::wayland::screen::VESK_FILE

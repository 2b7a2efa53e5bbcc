#include "platform/linux/x11/screen/MonitorImages.h"

#include <gtest/gtest.h>

#include "platform/linux/x11/screen/streamErrors.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen {
namespace {

using testing::DisplayVariable;
using testing::XServer;

class MonitorImagesTest : public ::testing::Test {
 protected:
  MonitorImagesTest() {
    configuration.width = 160;
    configuration.height = 100;
  }

  MonitorImages of(DisplayId id) { return {id, configuration, nullptr}; }

  XServer server{"320x200x24"};
  DisplayVariable variable{server.display()};
  DisplayId display = server::XDisplays().mainDisplay();
  StreamConfiguration configuration;
};

TEST_F(MonitorImagesTest, AreOfTheSizeAskedForAndOnlyWhereThereIsSomethingNew) {
  auto images = of(display);
  ASSERT_EQ(images.open(), std::nullopt);
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
  EXPECT_EQ(of(display + 1000).open(), streamError::displayGone);
}

TEST_F(MonitorImagesTest, SayThatTheServerIsGone) {
  auto images = of(display);
  ASSERT_EQ(images.open(), std::nullopt);
  server.kill();
  EXPECT_TRUE(testing::waitUntil([&] { return images.follow() == streamError::serverGone; }));
  images.close();
  EXPECT_EQ(of(display).open(), streamError::serverGone);
}

}  // namespace
}  // namespace vesk::x11::screen

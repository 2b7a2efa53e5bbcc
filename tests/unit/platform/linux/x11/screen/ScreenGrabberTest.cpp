#include "platform/linux/x11/screen/ScreenGrabber.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <chrono>
#include <cstring>
#include <optional>

#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::PlainWindow;
using testing::XPainter;
using testing::XServer;

constexpr int width = 320;
constexpr int height = 200;

class ScreenGrabberTest : public ::testing::Test {
 protected:
  std::unique_ptr<ScreenGrabber> makeGrabber(bool cursor = false) {
    auto grabber =
        std::make_unique<ScreenGrabber>(server::monitors(server::Connection()).at(0), cursor);
    EXPECT_TRUE(*grabber);
    EXPECT_TRUE(grabber->grab());
    return grabber;
  }

  static std::uint32_t pixel(const ScreenGrabber& grabber, int x, int y) {
    std::uint32_t value = 0;
    std::memcpy(&value, grabber.pixels() + y * grabber.stride() + x * 4, sizeof value);
    return value & 0xffffff;
  }

  /// Has somebody say of himself, until the test ends, that he composes the screen.
  void compose() {
    compositor.emplace(PixelRect{0, 0, 1, 1}, 0U);
    auto* const c = composing.emplace().get();
    const auto selection = server::atom(c, "_NET_WM_CM_S0");
    xcb_set_selection_owner(c, compositor->id(), selection, XCB_CURRENT_TIME);
    const server::ReplyPtr<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr));
    ASSERT_NE(reply, nullptr);
    ASSERT_EQ(reply->owner, compositor->id());
  }

  /// What changed, once something has.
  static std::vector<PixelRect> next(ScreenGrabber& grabber) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
      const auto news = grabber.readEvents();
      if (!news) return {};
      if (news->drawn) {
        const auto changed = grabber.grab();
        if (!changed || !changed->empty()) return changed.value_or(std::vector<PixelRect>{});
      }
      pollfd waiting{grabber.descriptor(), POLLIN, 0};
      ::poll(&waiting, 1, 100);
    }
    return {};
  }

  XServer server{"320x200x24"};
  DisplayVariable variable{server.display()};
  std::optional<PlainWindow> compositor;
  std::optional<server::Connection> composing;
};

TEST_F(ScreenGrabberTest, BeginsWithTheWholeScreen) {
  XPainter painter;
  painter.fill(0, 0, width, height, 0x102030);
  ScreenGrabber grabber(server::monitors(server::Connection()).at(0), false);
  ASSERT_TRUE(grabber);
  EXPECT_EQ(grabber.grab(), (std::vector<PixelRect>{{0, 0, width, height}}));
}

TEST_F(ScreenGrabberTest, FetchesAndTellsWhatWasDrawn) {
  XPainter painter;
  painter.fill(0, 0, width, height, 0x102030);
  const auto grabber = makeGrabber();
  while (pixel(*grabber, 5, 5) != 0x102030) ASSERT_FALSE(next(*grabber).empty());
  painter.fill(30, 40, 20, 10, 0xff8000);
  EXPECT_EQ(next(*grabber), (std::vector<PixelRect>{{30, 40, 20, 10}}));
  EXPECT_EQ(pixel(*grabber, 30, 40), 0xff8000U);
  EXPECT_EQ(pixel(*grabber, 49, 49), 0xff8000U);
  EXPECT_EQ(pixel(*grabber, 50, 40), 0x102030U);
}

TEST_F(ScreenGrabberTest, TakesManyLittleThingsAsOne) {
  XPainter painter;
  painter.fill(0, 0, width, height, 0);
  const auto grabber = makeGrabber();
  while (pixel(*grabber, 5, 5) != 0) ASSERT_FALSE(next(*grabber).empty());
  {
    // All at once, so that one look finds all of it.
    const server::Connection other;
    xcb_grab_server(other.get());
    const auto context = xcb_generate_id(other.get());
    const std::uint32_t white = 0xffffff;
    xcb_create_gc(other.get(), context, other.root(), XCB_GC_FOREGROUND, &white);
    for (int i = 0; i < 40; ++i) {
      const xcb_rectangle_t dot{static_cast<std::int16_t>(i * 8), static_cast<std::int16_t>(i * 5),
                                2, 2};
      xcb_poly_fill_rectangle(other.get(), other.root(), context, 1, &dot);
    }
    xcb_ungrab_server(other.get());
    xcb_flush(other.get());
    EXPECT_EQ(next(*grabber).size(), 1U);
  }
  EXPECT_EQ(pixel(*grabber, 39 * 8 + 1, 39 * 5 + 1), 0xffffffU);
  EXPECT_EQ(pixel(*grabber, 8, 5), 0xffffffU);
}

TEST_F(ScreenGrabberTest, PaintsThePointerAndTakesItAwayAgain) {
  XPainter painter;
  painter.fill(0, 0, width, height, 0xffffff);
  painter.showArrow();
  painter.movePointer(50, 60);
  const auto grabber = makeGrabber(true);
  const auto darkNear = [&](int x, int y) {
    for (int dy = -12; dy < 12; ++dy) {
      for (int dx = -12; dx < 12; ++dx) {
        if (pixel(*grabber, x + dx, y + dy) < 0x808080) return true;
      }
    }
    return false;
  };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!darkNear(50, 60) && std::chrono::steady_clock::now() < deadline) {
    grabber->readEvents();
    grabber->cursorChanged();
    grabber->grab();
  }
  ASSERT_TRUE(darkNear(50, 60));
  painter.movePointer(200, 100);
  while (!grabber->cursorChanged() && std::chrono::steady_clock::now() < deadline) {
  }
  const auto changed = grabber->grab();
  ASSERT_TRUE(changed);
  EXPECT_EQ(changed->size(), 2U) << "where it was, and where it is";
  EXPECT_TRUE(darkNear(200, 100));
  EXPECT_FALSE(darkNear(50, 60));
  painter.fill(10, 10, 4, 4, 0xff0000);
  EXPECT_EQ(next(*grabber), (std::vector<PixelRect>{{10, 10, 4, 4}})) << "it has not moved";
  EXPECT_TRUE(darkNear(200, 100));
}

TEST_F(ScreenGrabberTest, FindsNothingWhereNothingWasDrawn) {
  const auto grabber = makeGrabber();
  while (grabber->readEvents()->drawn) grabber->grab();
  const auto changed = grabber->grab();
  ASSERT_TRUE(changed);
  EXPECT_TRUE(changed->empty());
}

TEST_F(ScreenGrabberTest, HasNothingToLookAtWithoutAPointer) {
  const auto grabber = makeGrabber();
  EXPECT_EQ(grabber->nextLook(), ScreenGrabber::Time::max());
}

TEST_F(ScreenGrabberTest, KnowsOfNewsThatAnAnswerHasBroughtAlong) {
  const auto grabber = makeGrabber();
  while (grabber->readEvents()->drawn) grabber->grab();
  EXPECT_FALSE(grabber->hasNews());
  PlainWindow drawn({10, 10, 20, 20}, 0xff0000);
  drawn.show();
  // Waits for an answer, and reads all that comes before it.
  server::monitors(grabber->connection());
  pollfd silent{grabber->descriptor(), POLLIN, 0};
  EXPECT_EQ(::poll(&silent, 1, 0), 0);
  EXPECT_TRUE(grabber->hasNews());
  EXPECT_TRUE(grabber->readEvents()->drawn) << "they are told of once";
  EXPECT_FALSE(grabber->hasNews());
}

TEST_F(ScreenGrabberTest, FindsOutByItselfThatNoTraceOfAWindowIsLeft) {
  compose();
  PlainWindow other({50, 50, 100, 20}, 0xff0000);
  const beneath::OwnWindows none;
  other.show();
  ScreenGrabber grabber(server::monitors(server::Connection()).at(0), false, &none);
  ASSERT_TRUE(grabber.grab());
  EXPECT_EQ(grabber.nextLook(), ScreenGrabber::Time::max());
  other.hide();
  const auto begin = ScreenGrabber::Time::clock::now();
  EXPECT_TRUE(testing::waitUntil([&] {
    if (grabber.readEvents()->drawn) grabber.grab();
    return grabber.nextLook() != ScreenGrabber::Time::max();
  }));
  const auto over = grabber.nextLook();
  EXPECT_GE(over, begin + std::chrono::milliseconds(500));
  EXPECT_TRUE(testing::waitUntil([&] {
    if (grabber.readEvents()->drawn) grabber.grab();
    return grabber.nextLook() == ScreenGrabber::Time::max();
  }));
  EXPECT_GE(ScreenGrabber::Time::clock::now(), over);
}

/// A compositor lets it fade away, of which nobody tells.
TEST_F(ScreenGrabberTest, LooksAtWhatAnOwnWindowHasLeftWhenItHasFaded) {
  compose();
  PlainWindow own({50, 50, 100, 20}, 0xff0000);
  beneath::OwnWindows ownWindows;
  ownWindows.add(own.id());
  own.show();
  ScreenGrabber grabber(server::monitors(server::Connection()).at(0), false, &ownWindows);
  ASSERT_TRUE(grabber.grab());
  EXPECT_EQ(grabber.nextLook(), ScreenGrabber::Time::max());
  own.hide();
  const auto begin = ScreenGrabber::Time::clock::now();
  ASSERT_TRUE(grabber.readEvents());
  ASSERT_TRUE(grabber.grab());
  const auto faded = grabber.nextLook();
  EXPECT_GT(faded, begin);
  EXPECT_LT(faded, ScreenGrabber::Time::max());
  EXPECT_TRUE(testing::waitUntil([&] { return grabber.readEvents()->drawn; }));
  EXPECT_GE(ScreenGrabber::Time::clock::now(), faded);
  ASSERT_TRUE(grabber.grab());
  EXPECT_EQ(grabber.nextLook(), ScreenGrabber::Time::max());
}

TEST_F(ScreenGrabberTest, GivesNothingOnceTheServerIsGone) {
  const auto grabber = makeGrabber();
  server.kill();
  while (grabber->readEvents()) {
    pollfd waiting{grabber->descriptor(), POLLIN, 0};
    ::poll(&waiting, 1, 100);
  }
  EXPECT_FALSE(*grabber);
  EXPECT_FALSE(grabber->grab().has_value() && *grabber);
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE

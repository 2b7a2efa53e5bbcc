#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <optional>

#include "platform/linux/x11/screen/ScreenGrabber.h"
#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using testing::PlainWindow;

constexpr std::uint32_t bare = 0x305070;
constexpr std::uint32_t drawn = 0xf08020;
constexpr std::uint32_t others = 0x40c040;
constexpr std::uint32_t owns = 0xff0000;

/// A root window of one colour, somewhere in which a program has drawn, while somebody says that he
/// composes the screen: he leaves that to the server.
class BackgroundBeneathTest : public ::testing::Test {
 protected:
  BackgroundBeneathTest() {
    auto* const c = connection.get();
    xcb_change_window_attributes(c, connection.root(), XCB_CW_BACK_PIXEL, &bare);
    xcb_clear_area(c, 0, connection.root(), 0, 0, 0, 0);
    finish();
    painter.fill(60, 50, 20, 20, drawn);
  }

  void finish() const {
    const server::ReplyPtr<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    ASSERT_NE(reply, nullptr);
  }

  void compose() {
    compositor.emplace(PixelRect{0, 0, 1, 1}, 0U);
    auto* const c = connection.get();
    xcb_set_selection_owner(c, compositor->id(), server::atom(c, "_NET_WM_CM_S0"),
                            XCB_CURRENT_TIME);
    finish();
  }

  void setOnRoot(std::string_view property, xcb_atom_t type, std::uint32_t value) const {
    auto* const c = connection.get();
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, connection.root(), server::atom(c, property),
                        type, 32, 1, &value);
    finish();
  }

  void capture() {
    grabber.emplace(server::monitors(server::Connection()).at(0), false, &ownWindows);
    ASSERT_TRUE(grabber->grab());
    ASSERT_TRUE(showsAt(70, 60, drawn));
  }

  void show(PlainWindow& own) {
    ownWindows.add(own.id());
    own.show();
  }

  bool showsAt(int x, int y, std::uint32_t colour) {
    return testing::waitUntil([&] {
      if (grabber->readEvents()->drawn) grabber->grab();
      return at(x, y) == colour;
    });
  }

  std::uint32_t at(int x, int y) const {
    std::uint32_t value = 0;
    std::memcpy(&value, grabber->pixels() + y * grabber->stride() + x * 4, sizeof value);
    return value & 0xffffff;
  }

  testing::XServer server{"320x200x24"};
  testing::DisplayVariable variable{server.display()};
  server::Connection connection;
  testing::XPainter painter;
  std::optional<PlainWindow> compositor;
  beneath::OwnWindows ownWindows;
  std::optional<ScreenGrabber> grabber;
};

TEST_F(BackgroundBeneathTest, GoesAlongWithAnOwnWindowThatMoves) {
  compose();
  capture();
  PlainWindow own({50, 50, 100, 20}, owns);
  PlainWindow other({60, 40, 40, 40}, others);
  show(own);
  other.show();
  own.raise();
  ASSERT_TRUE(showsAt(70, 60, others));
  own.move(55, 50);
  painter.fill(0, 0, 10, 10, drawn);
  ASSERT_TRUE(showsAt(5, 5, drawn)) << "it has moved by then";
  other.hide();
  EXPECT_TRUE(showsAt(70, 60, drawn));
}

TEST_F(BackgroundBeneathTest, IsThatOfWhoeverShowsIt) {
  capture();
  PlainWindow own({50, 50, 100, 20}, owns);
  show(own);
  painter.fill(0, 0, 10, 10, drawn);
  ASSERT_TRUE(showsAt(5, 5, drawn)) << "it is up by then";
  ASSERT_EQ(at(70, 60), drawn);
  compose();
  EXPECT_TRUE(showsAt(70, 60, bare)) << "what a program drew, a compositor need not show";
}

TEST_F(BackgroundBeneathTest, StaysWhenAWallpaperIsNamedThatTheCompositorDoesNotShow) {
  compose();
  auto* const c = connection.get();
  setOnRoot("_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, compositor->id());
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, compositor->id(), server::atom(c, "_NET_WM_NAME"),
                      XCB_ATOM_STRING, 8, 4, "KWin");
  finish();
  capture();
  PlainWindow own({50, 50, 100, 20}, owns);
  show(own);
  const xcb_pixmap_t pixmap = xcb_generate_id(c);
  xcb_create_pixmap(c, 24, pixmap, connection.root(), 320, 200);
  setOnRoot("_XROOTPMAP_ID", XCB_ATOM_PIXMAP, pixmap);
  painter.fill(0, 0, 10, 10, drawn);
  ASSERT_TRUE(showsAt(5, 5, drawn)) << "it is known by then";
  EXPECT_EQ(at(70, 60), drawn);
}

TEST_F(BackgroundBeneathTest, IsGuessedBesideWhatOwnWindowsHaveLeft) {
  compose();
  PlainWindow other({100, 50, 40, 20}, others);
  other.show();
  beneath::StackedWindow left;
  left.frame = {140, 20, 60, 150};
  ownWindows.leave(left, ScreenGrabber::Time::clock::now() + std::chrono::hours(1));
  painter.fill(140, 20, 60, 150, owns);
  PlainWindow own({90, 20, 50, 150}, owns);
  show(own);
  capture();
  EXPECT_EQ(at(120, 60), others);
  other.hide();
  EXPECT_TRUE(showsAt(120, 60, bare));
}

TEST_F(BackgroundBeneathTest, IsGuessedFromThePictureWhileOwnWindowsCoverEverything) {
  compose();
  PlainWindow other({100, 50, 40, 20}, others);
  other.show();
  capture();
  PlainWindow own({0, 0, 320, 200}, owns);
  show(own);
  other.fill({0, 0, 5, 5}, drawn);
  ASSERT_TRUE(showsAt(102, 52, drawn)) << "it is up by then";
  other.hide();
  EXPECT_TRUE(showsAt(120, 60, bare));
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE

#include "platform/linux/x11/screen/PaintedPointer.h"

#include <gtest/gtest.h>

#include <xcb/render.h>
#include <xcb/xfixes.h>

#include <cmath>
#include <cstring>

#include "platform/linux/x11/screen/ScreenGrabber.h"
#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XPainter;
using testing::XServer;

constexpr int width = 640;
constexpr int height = 480;

/// An image of ARGB, premultiplied, and which of its pixels points.
struct Shape {
  int edge = 0;
  int hot = 0;
  std::uint32_t tint = 0;  ///< one of three colours

  /// From nothing at all to opaque, and no two rows or columns alike.
  std::uint32_t at(int x, int y) const {
    const auto alpha = static_cast<std::uint32_t>((x * 7 + y * 3) % 256);
    const auto level = alpha * static_cast<std::uint32_t>(x + 1) / static_cast<std::uint32_t>(edge);
    return alpha << 24U | level << 8 * tint;
  }
};

/// A program that gives the pointer its looks and its place. What it was told is done when a call
/// returns. Thread: the test's.
class Looks {
 public:
  void wear(const Shape& shape) { wear(cursorOf(shape)); }

  /// One after the other, each for that long.
  void wear(const std::vector<Shape>& shapes, std::uint32_t milliseconds) {
    std::vector<xcb_render_animcursorelt_t> steps;
    for (const auto& shape : shapes) steps.push_back({cursorOf(shape), milliseconds});
    const xcb_cursor_t all = xcb_generate_id(c());
    xcb_render_create_anim_cursor(c(), all, static_cast<std::uint32_t>(steps.size()), steps.data());
    wear(all);
  }

  void point(int x, int y) {
    await(xcb_warp_pointer_checked(c(), XCB_NONE, connection_.root(), 0, 0, 0, 0,
                                   static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)));
  }

  void hide() {
    const server::ReplyPtr<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(c(), xcb_xfixes_query_version(c(), 5, 0), nullptr));
    await(xcb_xfixes_hide_cursor_checked(c(), connection_.root()));
  }
  void show() { await(xcb_xfixes_show_cursor_checked(c(), connection_.root())); }

 private:
  xcb_connection_t* c() const { return connection_.get(); }

  void wear(xcb_cursor_t cursor) {
    await(xcb_change_window_attributes_checked(c(), connection_.root(), XCB_CW_CURSOR, &cursor));
  }

  void await(xcb_void_cookie_t request) {
    const server::ReplyPtr<xcb_generic_error_t> error(xcb_request_check(c(), request));
    EXPECT_EQ(error, nullptr);
  }

  xcb_cursor_t cursorOf(const Shape& shape) {
    const auto edge = static_cast<std::uint16_t>(shape.edge);
    const auto hot = static_cast<std::uint16_t>(shape.hot);
    const xcb_pixmap_t pixmap = xcb_generate_id(c());
    xcb_create_pixmap(c(), 32, pixmap, connection_.root(), edge, edge);
    const xcb_gcontext_t context = xcb_generate_id(c());
    xcb_create_gc(c(), context, pixmap, 0, nullptr);
    std::vector<std::uint32_t> row(edge);
    for (int y = 0; y < shape.edge; ++y) {
      for (int x = 0; x < shape.edge; ++x) row[static_cast<std::size_t>(x)] = shape.at(x, y);
      xcb_put_image(c(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, edge, 1, 0,
                    static_cast<std::int16_t>(y), 0, 32, static_cast<std::uint32_t>(edge) * 4,
                    reinterpret_cast<const std::uint8_t*>(row.data()));
    }
    const xcb_render_picture_t picture = xcb_generate_id(c());
    xcb_render_create_picture(c(), picture, pixmap, argb_, 0, nullptr);
    const xcb_cursor_t cursor = xcb_generate_id(c());
    xcb_render_create_cursor(c(), cursor, picture, hot, hot);
    return cursor;
  }

  static xcb_render_pictformat_t argbOf(xcb_connection_t* c) {
    const server::ReplyPtr<xcb_render_query_pict_formats_reply_t> reply(
        xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
    auto format = xcb_render_query_pict_formats_formats_iterator(reply.get());
    for (; format.rem > 0; xcb_render_pictforminfo_next(&format)) {
      const auto& layout = format.data->direct;
      if (format.data->depth == 32 && layout.alpha_shift == 24 && layout.red_shift == 16) break;
    }
    return format.data->id;
  }

  server::Connection connection_;
  xcb_render_pictformat_t argb_ = argbOf(connection_.get());
};

class PaintedPointerTest : public ::testing::Test {
 protected:
  PaintedPointerTest() {
    painter.fill(0, 0, width, height, light);
    painter.fill(0, 0, width / 2, height, dark);
  }

  void watch(const server::Monitor& monitor) {
    area = monitor;
    grabber = std::make_unique<ScreenGrabber>(monitor, /*showsCursor=*/true);
    ASSERT_TRUE(*grabber);
    ASSERT_TRUE(grabber->grab());
  }
  void watch() { watch(server::monitors(server::Connection()).at(0)); }

  /// Takes what is new, as a stream does.
  void follow() {
    ASSERT_TRUE(grabber->readEvents());
    grabber->cursorChanged();
    ASSERT_TRUE(grabber->grab());
  }

  /// Whether the picture is what the person sees, with that pointer there, or without one.
  bool shows(const std::optional<Shape>& shape, int x = 0, int y = 0) const {
    for (int row = 0; row < area.height; ++row) {
      for (int column = 0; column < area.width; ++column) {
        const int rootX = area.x + column;
        const int rootY = area.y + row;
        std::uint32_t over = 0;
        if (shape) {
          const int shapeX = rootX - x + shape->hot;
          const int shapeY = rootY - y + shape->hot;
          const bool inside =
              shapeX >= 0 && shapeY >= 0 && shapeX < shape->edge && shapeY < shape->edge;
          if (inside) over = shape->at(shapeX, shapeY);
        }
        if (!isBlend(pixel(column, row), over, rootX < width / 2 ? dark : light)) return false;
      }
    }
    return true;
  }

  bool comesToShow(const std::optional<Shape>& shape, int x = 0, int y = 0) {
    return testing::waitUntil([&] {
      follow();
      return shows(shape, x, y);
    });
  }

  bool rests() const { return grabber->nextLook() > ScreenGrabber::Time::clock::now(); }

  bool comesToRest() {
    return testing::waitUntil([&] {
      follow();
      return rests();
    });
  }

  XServer server{"640x480x24"};
  DisplayVariable variable{server.display()};
  XPainter painter;
  Looks looks;
  server::Monitor area;
  std::unique_ptr<ScreenGrabber> grabber;

 private:
  static constexpr std::uint32_t light = 0xe0d0c0;
  static constexpr std::uint32_t dark = 0x203040;

  std::uint32_t pixel(int x, int y) const {
    std::uint32_t value = 0;
    std::memcpy(&value, grabber->pixels() + y * grabber->stride() + x * 4, sizeof value);
    return value;
  }

  static bool isBlend(std::uint32_t pixel, std::uint32_t over, std::uint32_t under) {
    const double keep = 1 - (over >> 24U) / 255.0;
    for (unsigned shift = 0; shift < 24; shift += 8) {
      const double ideal = (over >> shift & 255U) + keep * (under >> shift & 255U);
      if (std::abs(ideal - (pixel >> shift & 255U)) > 0.51) return false;
    }
    return true;
  }
};

TEST_F(PaintedPointerTest, LooksAsTheServerDrawsItInAnySize) {
  looks.point(width / 2, 200);
  watch();
  for (const int edge : {16, 96, 256}) {
    const Shape shape{edge, edge / 3};
    looks.wear(shape);
    EXPECT_TRUE(comesToShow(shape, width / 2, 200)) << edge;
  }
}

TEST_F(PaintedPointerTest, IsCutOffAtEveryEdgeOfTheScreen) {
  const Shape shape{96, 48};
  looks.wear(shape);
  watch();
  for (const auto& [x, y] :
       {std::pair{0, 0}, {width - 1, 3}, {5, height - 1}, {width - 1, height - 1}}) {
    looks.point(x, y);
    EXPECT_TRUE(comesToShow(shape, x, y)) << x << "," << y;
  }
}

TEST_F(PaintedPointerTest, IsInThePictureOfTheMonitorThatItIsOn) {
  const Shape shape{96, 48, 1};
  looks.wear(shape);
  for (const int left : {0, width / 2}) {
    const server::Monitor monitor{0, false, left, 0, width / 2, height};
    watch(monitor);
    const int centre = monitor.x + monitor.width / 2;
    looks.point(centre, 100);
    EXPECT_TRUE(comesToShow(shape, centre, 100)) << monitor.x;
    looks.point(width - centre, 100);
    EXPECT_TRUE(comesToShow(std::nullopt)) << monitor.x;
    follow();
    looks.point(width - centre, 110);
    EXPECT_FALSE(grabber->cursorChanged()) << "what it does on another monitor is of no interest";
    looks.point(width / 2, 100);
    EXPECT_TRUE(comesToShow(shape, width / 2, 100)) << "half of it, from " << monitor.x;
  }
}

TEST_F(PaintedPointerTest, MovesWithItsAnimation) {
  const std::vector<Shape> steps{{32, 5, 0}, {48, 9, 1}, {24, 0, 2}};
  looks.wear(steps, 150);
  looks.point(300, 200);
  watch();
  for (int round = 0; round < 2; ++round) {
    for (const auto& step : steps) EXPECT_TRUE(comesToShow(step, 300, 200)) << step.edge;
  }
}

TEST_F(PaintedPointerTest, AsksForNothingWhileItRests) {
  looks.wear({64, 7});
  looks.point(300, 200);
  watch();
  ASSERT_TRUE(comesToRest());
  const auto requests = [&] { return xcb_no_operation(grabber->connection().get()).sequence; };
  // Whatever takes longer than the rest is seen in the next one.
  EXPECT_TRUE(testing::waitUntil([&] {
    follow();
    const auto before = requests();
    const bool changed = grabber->cursorChanged() || !grabber->grab();
    const auto after = requests();
    return rests() && !changed && after - before == 1;
  }));
}

TEST_F(PaintedPointerTest, IsSeenWhereAProgramHasPutItAfterARest) {
  const Shape shape{64, 7};
  looks.wear(shape);
  looks.point(300, 200);
  watch();
  ASSERT_TRUE(comesToRest());
  looks.point(400, 100);
  EXPECT_TRUE(comesToShow(shape, 400, 100));
  EXPECT_FALSE(rests());
}

TEST_F(PaintedPointerTest, LooksOtherwiseAtOnceWhileItRests) {
  looks.wear({64, 7});
  looks.point(300, 200);
  watch();
  ASSERT_TRUE(comesToRest());
  const Shape other{32, 3, 1};
  looks.wear(other);
  EXPECT_TRUE(testing::waitUntil([&] {
    EXPECT_FALSE(grabber->hasNews()) << "nothing was drawn";
    return grabber->nextLook() == ScreenGrabber::Time{};
  }));
  EXPECT_TRUE(comesToShow(other, 300, 200));
}

TEST_F(PaintedPointerTest, NeverRestsWhileAProgramHidesIt) {
  looks.wear({64, 7});
  looks.point(300, 200);
  looks.hide();
  watch();
  const auto longEnough = ScreenGrabber::Time::clock::now() + PointerWatch::beforeItRests * 2;
  EXPECT_TRUE(testing::waitUntil([&] {
    follow();
    EXPECT_FALSE(rests());
    return ScreenGrabber::Time::clock::now() > longEnough;
  }));
  looks.show();
  EXPECT_TRUE(comesToRest());
}

TEST_F(PaintedPointerTest, IsAbsentFromTheFirstPictureWhenAProgramHidIt) {
  looks.wear({64, 7});
  looks.point(300, 200);
  looks.hide();
  watch();
  EXPECT_TRUE(comesToShow(std::nullopt));
  looks.point(310, 200);
  EXPECT_FALSE(grabber->cursorChanged()) << "nobody sees it move";
}

TEST_F(PaintedPointerTest, GoesAndComesBackWithWhoeverHidesIt) {
  const Shape shape{64, 7, 2};
  looks.wear(shape);
  looks.point(300, 200);
  watch();
  EXPECT_TRUE(comesToShow(shape, 300, 200));
  looks.hide();
  EXPECT_TRUE(comesToShow(std::nullopt));
  looks.point(20, 400);
  looks.show();
  EXPECT_TRUE(grabber->cursorChanged()) << "at once, so that whoever moves it sees it";
  EXPECT_TRUE(comesToShow(shape, 20, 400));
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE

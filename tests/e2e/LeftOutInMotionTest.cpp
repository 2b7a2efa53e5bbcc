#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "e2e/ScreenPixels.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"
#include "platform/linux/x11/server/Randr.h"
#include "support/Again.h"
#include "support/Patience.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::testing::VESK_FILE {
namespace {

using picture::PixelRect;
using std::chrono::microseconds;

constexpr int width = 800;
constexpr int height = 600;
constexpr std::uint32_t ownColour = 0xff00ff;
constexpr std::uint32_t movingColour = 0x40c040;
/// As often as a fast mouse tells of itself.
constexpr microseconds handsPause{1000};

/// Own windows on a bare server, and what lies and moves beneath them.
class LeftOutInMotionTest : public ::testing::Test {
 protected:
  static constexpr picture::PixelRect moving{150, 5, 300, 200};

  LeftOutInMotionTest() {
    painter.fill(0, 0, width, height, 0);
    for (auto* const own : {&strip, &edge}) {
      ownWindows.add(own->id());
      own->show();
    }
    window.show();
    strip.raise();
  }

  /// Takes a picture as a viewer gets it; whether there was one.
  bool takePicture() {
    ++begun;
    const auto changed = grabber.readEvents() ? grabber.grab() : std::nullopt;
    if (!changed || changed->empty()) return false;
    for (const auto& rect : *changed) {
      for (int y = rect.y; y < rect.bottom(); ++y) {
        std::memcpy(&seen.at(static_cast<std::size_t>(y * width + rect.x)),
                    grabber.pixels() + y * grabber.stride() + rect.x * 4,
                    static_cast<std::size_t>(rect.width) * 4);
      }
    }
    return true;
  }

  /// Looks at so many pictures, or fewer when they do not come; whether they did.
  bool takePictures(int count, const std::function<void()>& look) {
    int taken = 0;
    return waitUntil([&] {
      for (int i = 0; i < 10 && taken < count; ++i) {
        if (!takePicture()) continue;
        ++taken;
        look();
      }
      return taken == count;
    });
  }

  /// Whether the moving window is seen, in one piece.
  bool isWhole() const {
    picture::PixelRect all;
    int found = 0;
    for (int y = 0; y < height; ++y) {
      const auto row = std::span(seen).subspan(static_cast<std::size_t>(y * width), width);
      const int inRow = count(row, movingColour);
      if (inRow == 0) continue;
      found += inRow;
      int left = 0;
      int right = width - 1;
      while (pixel(left, y) != movingColour) ++left;
      while (pixel(right, y) != movingColour) --right;
      all = around(all, {left, y, right + 1 - left, 1});
    }
    return all.width == moving.width && all.height == moving.height &&
           found == moving.width * moving.height;
  }

  std::uint32_t pixel(int x, int y) const {
    return seen.at(static_cast<std::size_t>(y * width + x)) & 0xffffff;
  }

  XServer server{"800x600x24"};
  DisplayVariable variable{server.display()};
  XPainter painter;
  x11::beneath::OwnWindows ownWindows;
  PlainWindow strip{{200, 0, 400, 26}, ownColour};
  PlainWindow edge{{0, 0, 8, height}, ownColour};
  PlainWindow window{moving, movingColour};
  std::atomic<int> begun = 0;  ///< pictures
  std::vector<std::uint32_t> seen = std::vector<std::uint32_t>(width * height);
  x11::screen::ScreenGrabber grabber{x11::server::monitors(x11::server::Connection()).at(0), false,
                                     &ownWindows};
};

TEST_F(LeftOutInMotionTest, ShowsAWindowThatMovesBeneathInOnePiece) {
  int torn = 0;
  // Once for each picture, at any time while that is taken: one that moves time and again
  // meanwhile, as on a busy machine it does, is shown with a seam rather than not at all.
  int last = 0;
  const Again move(handsPause, [&](int) {
    if (const int i = begun; std::exchange(last, i) != i)
      window.move(150 + i * 7 % 97, 5 + i * 3 % 19);
  });
  EXPECT_TRUE(takePictures(200, [&] { torn += isWhole() ? 0 : 1; }));
  EXPECT_EQ(torn, 0);
}

TEST_F(LeftOutInMotionTest, NeverShowsAnOwnWindowThatMoves) {
  int own = 0;
  const Again move(handsPause, [&](int i) { strip.move(100 + i * 17 % 200, 40 + i * 13 % 300); });
  const Again draw(handsPause, [&](int i) {
    window.fill({0, 0, moving.width, moving.height}, static_cast<std::uint32_t>(i % 2) * 0x808080);
  });
  EXPECT_TRUE(takePictures(200, [&] { own += count(seen, ownColour); }));
  EXPECT_EQ(own, 0);
}

TEST_F(LeftOutInMotionTest, NeverShowsAnOwnWindowThatComesAndGoes) {
  int own = 0;
  PlainWindow other({300, 200, 250, 150}, ownColour);
  ownWindows.add(other.id());
  const Again blink(handsPause * 5, [&](int i) { i % 2 == 0 ? other.show() : other.hide(); });
  const Again draw(handsPause, [&](int i) {
    painter.fill(250, 150, 350, 250, static_cast<std::uint32_t>(i % 2) * 0x808080);
  });
  EXPECT_TRUE(takePictures(200, [&] { own += count(seen, ownColour); }));
  EXPECT_EQ(own, 0);
}

/// There is no moment at which such a window stands still.
TEST_F(LeftOutInMotionTest, GoesOnWhileAWindowNeverStandsStill) {
  {
    const Again move(microseconds(0), [&](int i) { window.move(150 + i % 97, 5 + i % 19); });
    EXPECT_TRUE(takePictures(20, [] {}));
  }
  EXPECT_TRUE(waitUntil([&] {
    takePicture();
    return isWhole();
  }));
}

TEST_F(LeftOutInMotionTest, RatherShowsNothingThanAnOwnWindowThatNeverStandsStill) {
  constexpr int looks = 200;
  constexpr std::uint32_t colour = 0x2468ac;
  int own = 0;
  {
    const Again move(microseconds(0), [&](int i) { strip.move(100 + i % 97, 40 + i % 19); });
    for (int i = 0; i < looks; ++i) {
      if (i == looks / 2) painter.fill(600, 400, 100, 100, colour);
      own += takePicture() ? count(seen, ownColour) : 0;
    }
  }
  EXPECT_EQ(own, 0);
  EXPECT_TRUE(waitUntil([&] {
    takePicture();
    return count(seen, colour) == 100 * 100;
  })) << "what was held back comes later";
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

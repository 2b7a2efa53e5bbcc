#include "platform/linux/wayland/server/WlDisplays.h"
#include "platform/linux/wayland/server/shareableOutputs.h"
#include "support/CastImages.h"
#include "unit/platform/linux/portal/input/PosterFixture.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

Rect mainArea() {
  wayland::server::WlDisplays displays;
  return displays.bounds(displays.mainDisplay());
}

struct FineMutter : testing::Mutter {
  FineMutter() : Mutter({.monitor = {3840, 2160}, .scale = 2}) {}
};

/// Where what is shared has more pixels than windows have points.
class OnAFineMonitorTest : public PosterFixtureOn<session::AskedDesktopOn<FineMutter>> {};

TEST_F(OnAFineMonitorTest, PointsAtPlacesOfTheWholeMonitor) {
  const Rect area = mainArea();
  const Point place{area.width / 4, area.height / 2};
  move(place);
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer == Point{480, 540}; }));
  EXPECT_EQ(poster.pointerLocation(), place);
  move({area.width * 2, area.height * 2});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer.x > 1919; }));
  EXPECT_GT(window->seen().pointer.y, 1079);
}

struct ScaledMutter : testing::Mutter {
  ScaledMutter() : Mutter({.monitor = {3840, 2160}, .scale = 2, .isScaledAsAWhole = true}) {}
};

/// Where the desktop itself has more pixels than points.
class OnAScaledDesktopTest : public PosterFixtureOn<session::AskedDesktopOn<ScaledMutter>> {};

TEST_F(OnAScaledDesktopTest, PointsAtPlacesOfTheWholeMonitor) {
  ASSERT_EQ(mainArea(), (Rect{{0, 0}, 1920, 1080}));
  move({480, 540});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer == Point{480, 540}; }));
  EXPECT_EQ(poster.pointerLocation(), (Point{480, 540}));
  move({1500.5, 900});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer == Point{1500.5, 900}; }));
  move({4000, 4000});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer.x > 1919; }));
  EXPECT_GT(window->seen().pointer.y, 1079);
}

constexpr PixelSize besideIt{1280, 720};

struct TwoMonitors : testing::Mutter {
  TwoMonitors() : Mutter({.beside = besideIt}) {}
};

/// A person who shares the monitor beside the main one. A dialog that gets no processor takes no
/// notice of a choice; then the person is asked once more.
class OtherShared : public session::AskedDesktopOn<TwoMonitors> {
 public:
  bool begin() {
    constexpr int tries = 5;
    for (int i = 0; i < tries; ++i) {
      if (!share()) return false;
      if (grants.front().area->origin == Point{1920, 0}) return isAskedNoMore() && hasKeysAgain();
    }
    return false;
  }

 private:
  bool share() {
    session.reset();
    grants.clear();
    ask();
    if (!isAsked()) return false;
    for (const Point place : {ofTheOther, ofInput, ofYes}) hand.click(place);
    return waitFor([this] { return !grants.empty(); });
  }

  static constexpr Point ofTheOther{791, 580};
  static constexpr Point ofInput{1150, 667};
  static constexpr Point ofYes{1172, 413};
};

class OnTheOtherMonitorTest : public PosterFixtureOn<OtherShared> {
 protected:
  DisplayId other() const {
    wayland::server::Connection connection;
    const auto main = wayland::server::WlDisplays().mainDisplay();
    for (const auto& display : wayland::server::shareableOutputs(connection).displays) {
      if (display.displayID != main) return display.displayID;
    }
    return 0;
  }

  /// Whether the viewer's `target` is that place in a window, which may have to grow first.
  bool isThere(Point target, const testing::WlWindow& there, Point place) {
    return testing::waitUntil([&] {
      move(target);
      const auto seen = there.seen();
      return seen.hasPointer && seen.pointer == place;
    });
  }
};

TEST_F(OnTheOtherMonitorTest, SeesWhatIsShared) {
  testing::WlWindow onIt({.output = other()});
  ASSERT_EQ(onIt.size(), besideIt);
  onIt.fill(0, 0, 1280, 720, 0xffffff);
  auto& grant = grants.front();
  testing::CastImages images(std::move(grant.remote), grant.node, besideIt, {});
  ASSERT_EQ(images.open(), std::nullopt);
  EXPECT_TRUE(images.waitUntil([](const picture::Nv12Image& image) {
    return image.luma()[360 * image.stride() + 640] > 225;
  }));
}

TEST_F(OnTheOtherMonitorTest, PointsAtWhatIsWatched) {
  testing::WlWindow onIt({.output = other()});
  ASSERT_EQ(onIt.size(), besideIt);
  const auto hold = watched.hold(other());
  EXPECT_TRUE(isThere({1920, 0}, onIt, {0, 0}));
  EXPECT_TRUE(isThere({1920 + 640, 360}, onIt, {640, 360}));
  EXPECT_EQ(poster.pointerLocation(), (Point{1920 + 640, 360}));
  EXPECT_FALSE(window->seen().hasPointer);
  EXPECT_TRUE(isThere({10, 10}, onIt, {0, 10}));
}

/// Where nobody has said so, the viewer's places are those of the main one.
TEST_F(OnTheOtherMonitorTest, PointsAtWhatIsSharedAsIfItWereTheMainOne) {
  testing::WlWindow onIt({.output = other()});
  ASSERT_EQ(onIt.size(), besideIt);
  const Rect area = mainArea();
  const Point middle{area.width / 2, area.height / 2};
  EXPECT_TRUE(isThere(middle, onIt, {640, 360}));
  EXPECT_EQ(poster.pointerLocation(), middle);
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE

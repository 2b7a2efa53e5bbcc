#include <cmath>

#include "platform/linux/wayland/server/WlDisplays.h"
#include "platform/linux/wayland/server/shareableOutputs.h"
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

constexpr PixelSize besideIt{1280, 720};

struct TwoMonitors : testing::Mutter {
  TwoMonitors() : Mutter({.beside = besideIt}) {}
};

/// A person who shares the monitor beside the main one.
class OtherShared : public session::AskedDesktopOn<TwoMonitors> {
 public:
  bool begin() {
    ask();
    if (!isAsked()) return false;
    for (const Point place : {ofTheOther, ofInput, ofYes}) hand.click(place);
    return waitFor([this] { return !grants.empty(); }) && isAskedNoMore() && hasKeysAgain();
  }

 private:
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
};

/// The viewer's places are those of the picture that they see.
TEST_F(OnTheOtherMonitorTest, PointsAtWhatIsShared) {
  testing::WlWindow onIt({.output = other()});
  ASSERT_EQ(onIt.size(), besideIt);
  const Rect area = mainArea();
  const Point middle{area.width / 2, area.height / 2};
  move(middle);
  // A window that grows counts its places in fractions.
  EXPECT_TRUE(onIt.waitFor([](const auto& seen) {
    return std::abs(seen.pointer.x - 640) < 0.01 && std::abs(seen.pointer.y - 360) < 0.01;
  }));
  EXPECT_EQ(poster.pointerLocation(), middle);
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return !seen.hasPointer; }));
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE

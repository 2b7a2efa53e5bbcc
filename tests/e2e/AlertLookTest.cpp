#include <algorithm>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

class FramedAlertTest : public PresenceTest {};

INSTANTIATE_TEST_SUITE_P(On, FramedAlertTest,
                         ::testing::Values(Kind::openbox, Kind::xfwm4, Kind::mutter, Kind::kwin),
                         nameOfDesktop);

/// Openbox and KWin let every dialog be minimised, whatever it asks for.
TEST_P(FramedAlertTest, WantsNoButtonsToMinimiseOrMaximiseIt) {
  const xcb_window_t alert = ask("Ada");
  const auto wishes = desktop_.property(alert, "_MOTIF_WM_HINTS");
  ASSERT_GE(wishes.size(), 3U);
  constexpr std::uint32_t both = 3;
  constexpr std::uint32_t allMinimiseMaximise = 1 | 8 | 16;
  constexpr std::uint32_t allMinimiseMaximiseButtons = 1 | 32 | 64;
  EXPECT_EQ(wishes[0] & both, both);
  EXPECT_EQ(wishes[1] & allMinimiseMaximise, 0U);
  EXPECT_EQ(wishes[2] & allMinimiseMaximiseButtons, 0U);

  const auto isAllowed = [&](const std::string& action) {
    const auto actions = desktop_.property(alert, "_NET_WM_ALLOWED_ACTIONS");
    return std::ranges::count(actions, desktop_.atomOf("_NET_WM_ACTION_" + action)) > 0;
  };
  EXPECT_TRUE(waitUntil([&] { return isAllowed("CLOSE"); }));
  EXPECT_FALSE(isAllowed("MAXIMIZE_HORZ"));
  EXPECT_FALSE(isAllowed("MAXIMIZE_VERT"));
  const bool listens = GetParam() == Kind::xfwm4 || GetParam() == Kind::mutter;
  EXPECT_EQ(isAllowed("MINIMIZE"), !listens);
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
}

class AlertSizeTest : public ::testing::TestWithParam<Scale> {
 protected:
  /// How many pixels of that column, in the lowest part of the alert, are not the background's.
  long heightOfButton(const Place& alert, int fromTheRight, double scale) {
    const auto pixels = [&](double points) { return static_cast<int>(points * scale); };
    const int x = alert.x + alert.width - pixels(fromTheRight);
    const int lowest = pixels(60);
    const auto column = desktop_.pixels(x, alert.y + alert.height - lowest, 1, lowest);
    return std::ssize(column) - std::ranges::count(column, column.back());
  }

  PresenceDesktop desktop_{Kind::openbox, "1280x800x24"};
};

INSTANTIATE_TEST_SUITE_P(At, AlertSizeTest, everyScale);

TEST_P(AlertSizeTest, HasButtonsThatAreHighEnoughToBeHit) {
  const double scale = GetParam().second;
  PresenceWindow program(environmentAt(GetParam(), desktop_));
  program.send("ask Ada");
  const Place place = placeOf(desktop_, desktop_.alert());
  // Beside the letters of Allow, and of Don't Allow.
  for (const int fromTheRight : {190, 110}) {
    EXPECT_TRUE(waitUntil([&] {
      return heightOfButton(place, fromTheRight, scale) >= static_cast<long>(32 * scale);
    })) << heightOfButton(place, fromTheRight, scale);
  }
}

TEST_F(OnOpenboxTest, IsOneLineHigherAtMostForTheLongestName) {
  PresenceWindow program(desktop_.environment());
  const auto heightFor = [&](const std::string& name) {
    program.send("ask " + name);
    const xcb_window_t alert = desktop_.alert();
    const int height = placeOf(desktop_, alert).height;
    desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
    EXPECT_EQ(program.line(), "denied");
    return height;
  };
  const int usual = heightFor("Ada");
  constexpr int lineOfTheMessage = 24;
  const int twoLines = heightFor(std::string(3000, 'W'));
  EXPECT_GT(twoLines, usual);
  EXPECT_LE(twoLines, usual + lineOfTheMessage);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

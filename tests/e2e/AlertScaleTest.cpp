#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

/// A desktop's settings as programs read them from the X server, with nothing but the resolution of
/// text, which is the scale of everything on desktops that tell no other.
class ScaleSettings {
 public:
  ScaleSettings(PresenceDesktop& desktop, double scale) : desktop_(desktop) {
    window_ = desktop_.makeWindow(0, 0, 1, 1, 0, true);
    set(scale);
    xcb_set_selection_owner(desktop_.connection(), window_, desktop_.atomOf("_XSETTINGS_S0"),
                            XCB_CURRENT_TIME);
    desktop_.focus();  // an answer: it has been done
  }

  void set(double scale) {
    constexpr int unscaled = 96 * 1024;
    std::string bytes(4, '\0');  // the least significant byte comes first
    addNumber(bytes, ++serial_);
    addNumber(bytes, 1);
    const std::string name = "Xft/DPI";
    bytes += {'\0', '\0', static_cast<char>(name.size()), '\0'};
    bytes += name + '\0';
    addNumber(bytes, serial_);
    addNumber(bytes, static_cast<std::uint32_t>(unscaled * scale));
    const xcb_atom_t settings = desktop_.atomOf("_XSETTINGS_SETTINGS");
    xcb_change_property(desktop_.connection(), XCB_PROP_MODE_REPLACE, window_, settings, settings,
                        8, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    desktop_.focus();
  }

 private:
  static void addNumber(std::string& bytes, std::uint32_t number) {
    for (const unsigned shift : {0U, 8U, 16U, 24U}) {
      bytes += static_cast<char>(number >> shift & 255U);
    }
  }

  PresenceDesktop& desktop_;
  xcb_window_t window_ = XCB_NONE;
  std::uint32_t serial_ = 0;
};

constexpr double widthInPoints = 504;

class AlertScaleTest : public ::testing::TestWithParam<Kind> {
 protected:
  PresenceWindow start() {
    return PresenceWindow({desktop_.server().environment(), "XDG_CURRENT_DESKTOP=GNOME",
                           "GTK_THEME=Adwaita", "DBUS_SESSION_BUS_ADDRESS=unix:path=/dev/null"});
  }

  /// The alert that takes the old one's place once the scale is another one.
  xcb_window_t alertAt(double scale) {
    const int width = static_cast<int>(widthInPoints * scale);
    xcb_window_t alert = XCB_NONE;
    EXPECT_TRUE(waitUntil([&] {
      alert = desktop_.alert();
      return std::abs(placeOf(desktop_, alert).width - width) <= 2;
    }));
    return alert;
  }

  PresenceDesktop desktop_{GetParam()};
  ScaleSettings settings_{desktop_, 2};
  AlertObserver observer_{desktop_.server().display()};
};

INSTANTIATE_TEST_SUITE_P(On, AlertScaleTest,
                         ::testing::Values(Kind::openbox, Kind::xfwm4, Kind::mutter),
                         nameOfDesktop);

TEST_P(AlertScaleTest, TakesAClickForWhatIsSeenWhenTheScaleHasChangedMeanwhile) {
  PresenceWindow program = start();
  program.send("ask Ada");
  const xcb_window_t old = alertAt(2);
  EXPECT_EQ(program.ask("focus"), "focused");

  settings_.set(1.75);
  const xcb_window_t alert = alertAt(1.75);
  EXPECT_FALSE(desktop_.isShown(old));
  EXPECT_EQ(program.ask("focus"), "focused");
  observer_.waitUntilActsCount(alert);
  const Place at = placeOf(desktop_, alert);
  const double scale = at.width / widthInPoints;
  // In the upper right part of "Don't Allow", which is the left one here.
  desktop_.click(at.x + at.width - static_cast<int>(129 * scale),
                 at.y + at.height - static_cast<int>(46 * scale));
  EXPECT_EQ(program.line(), "denied");
}

TEST_P(AlertScaleTest, TakesNoClickUntilItHasStoodAtTheNewScale) {
  PresenceWindow program = start();
  program.send("ask Ada");
  EXPECT_EQ(program.ask("focus"), "focused");
  observer_.waitUntilActsCount(alertAt(2));

  std::uint32_t stood = 500;
  xcb_window_t alert = XCB_NONE;
  Place at{};
  // A machine with much else to do may be late, which proves nothing.
  for (double scale = 1; stood >= 500; scale = 3 - scale) {
    settings_.set(scale);
    alert = alertAt(scale);
    at = placeOf(desktop_, alert);
    desktop_.movePointer(at.x + at.width - static_cast<int>(60 * scale),
                         at.y + at.height - static_cast<int>(32 * scale));
    desktop_.button(XCB_BUTTON_PRESS);
    desktop_.button(XCB_BUTTON_RELEASE);
    desktop_.focus();  // an answer: it has been done
    stood = observer_.now() - observer_.standsSince(alert);
    if (stood < 500) break;
    if (const auto answer = program.line(300)) program.send("ask Ada");
  }
  EXPECT_EQ(program.ask("focus"), "focused");
  observer_.waitUntilActsCount(alert);
  ASSERT_TRUE(desktop_.isShown(alert));
  desktop_.button(XCB_BUTTON_PRESS);
  desktop_.button(XCB_BUTTON_RELEASE);
  EXPECT_EQ(program.line(), "allowed");
}

struct SmallScreen {
  int width, height;
  const char* scale;
};

class AlertOnSmallScreenTest : public ::testing::TestWithParam<SmallScreen> {};

INSTANTIATE_TEST_SUITE_P(At, AlertOnSmallScreenTest,
                         ::testing::Values(SmallScreen{320, 240, "1"}, SmallScreen{640, 480, "1"},
                                           SmallScreen{640, 480, "1.5"}, SmallScreen{640, 480, "2"},
                                           SmallScreen{800, 600, "2"},
                                           SmallScreen{1280, 800, "3"}));

TEST_P(AlertOnSmallScreenTest, IsInSightAsAWhole) {
  const auto [width, height, scale] = GetParam();
  PresenceDesktop desktop(Kind::openbox,
                          std::to_string(width) + "x" + std::to_string(height) + "x24");
  auto environment = desktop.environment();
  environment.push_back("QT_SCALE_FACTOR=" + std::string(scale));
  PresenceWindow program(environment);
  for (const auto& name : {std::string("Ada"), std::string(3000, 'W')}) {
    program.send("ask " + name);
    const xcb_window_t alert = desktop.alert();
    EXPECT_EQ(program.ask("focus"), "focused");
    const Place at = placeOf(desktop, alert);
    EXPECT_GE(std::min(at.x, at.y), 0);
    EXPECT_LE(at.x + at.width, width);
    EXPECT_LE(at.y + at.height, height);
    desktop.tellWindow(alert, "WM_DELETE_WINDOW");
    EXPECT_EQ(program.line(), "denied");
  }
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

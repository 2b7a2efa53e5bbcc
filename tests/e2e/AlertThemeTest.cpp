#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

#include "e2e/MessageBus.h"
#include "e2e/PresenceFixture.h"
#include "platform/linux/alert/AlertColours.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk::testing::VESK_FILE {
namespace {

/// How well the text in a rectangle can be read: of the colours that fill it, the one nearest to
/// the text's counts.
double contrastIn(const std::vector<std::uint32_t>& pixels) {
  std::map<std::uint32_t, std::size_t> counts;
  for (const auto pixel : pixels) ++counts[pixel];
  const auto common = std::ranges::max_element(counts, {}, [](auto& each) { return each.second; });
  const auto contrastTo = [](std::uint32_t one) {
    return [one](const auto& each) { return alert::contrast(QColor(one), QColor(each.first)); };
  };
  const auto text = std::ranges::max_element(counts, {}, contrastTo(common->first));
  double least = 21;
  for (const auto& each : counts) {
    const bool isBackground = each.second * 25 > pixels.size() && each.first != text->first;
    if (isBackground) least = std::min(least, contrastTo(text->first)(each));
  }
  return least;
}

/// How many pixels can be read well on the one at the rectangle's corner. A shadow around letters
/// in the background's colour has but a few.
long readablePixels(const std::vector<std::uint32_t>& pixels) {
  return std::ranges::count_if(pixels, [&](std::uint32_t each) {
    return alert::contrast(QColor(each), QColor(pixels.front())) >= 4.5;
  });
}

/// How far from the alert's right edge the buttons' texts begin.
struct Buttons {
  int allow = 185;
  int dontAllow = 104;
};

constexpr Buttons inGnomesOrder{82, 190};

class AlertThemeTest : public ::testing::Test {
 protected:
  /// What the desktop is on which the tests run does not matter.
  PresenceWindow start(const std::vector<std::string>& environment) {
    std::vector<std::string> all{desktop_.server().environment(), "XDG_CURRENT_DESKTOP=",
                                 "DBUS_SESSION_BUS_ADDRESS=unix:path=/dev/null"};
    all.insert(all.end(), environment.begin(), environment.end());
    return PresenceWindow(all);
  }

  void expectReadable(PresenceWindow& program, std::uint32_t background, Buttons buttons = {}) {
    program.send("ask Ada");
    const xcb_window_t alert = desktop_.alert();
    const Place at = placeOf(desktop_, alert);
    ASSERT_TRUE(desktop_.waitForPixel(at.x + 10, at.y + 10, background))
        << std::hex << desktop_.pixel(at.x + 10, at.y + 10);
    expectReadable(at, buttons);
    // As well while another window has the focus, of which the default button tells.
    EXPECT_EQ(program.ask("focus"), "focused");
    const auto defaultButton = [&] {
      return desktop_.pixels(at.x + at.width - buttons.allow, at.y + at.height - 60, 46, 45);
    };
    const auto focused = defaultButton();
    const xcb_window_t other = desktop_.makeWindow(0, 0, 10, 10, backdrop, true);
    // Again and again: the window manager may still be about to give it to the alert.
    ASSERT_TRUE(waitUntil([&] {
      desktop_.setFocus(other);
      return defaultButton() != focused;
    }));
    expectReadable(at, buttons);
    desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
    EXPECT_EQ(program.line(), "denied");
  }

  void expectReadable(const Place& at, Buttons buttons) {
    const int right = at.x + at.width;
    const int bottom = at.y + at.height;
    const int allow = right - buttons.allow;
    const int dontAllow = right - buttons.dontAllow;
    EXPECT_GE(contrastIn(desktop_.pixels(at.x + 104, at.y + 20, 300, 20)), 4.5) << "message";
    EXPECT_GE(contrastIn(desktop_.pixels(at.x + 104, at.y + 48, 300, 24)), 4.5) << "explanation";
    EXPECT_GE(contrastIn(desktop_.pixels(allow, bottom - 39, 46, 14)), 4.5) << "Allow";
    EXPECT_GE(contrastIn(desktop_.pixels(dontAllow, bottom - 39, 72, 14)), 4.5) << "Don't Allow";
    // Which button is the default one is to be seen from its colour.
    defaultButton_ = desktop_.pixel(allow - 5, bottom - 32);
    EXPECT_NE(defaultButton_, desktop_.pixel(dontAllow - 6, bottom - 32));
  }

  void expectReadable(const std::vector<std::string>& environment, std::uint32_t background,
                      Buttons buttons = {}) {
    PresenceWindow program = start(environment);
    expectReadable(program, background, buttons);
  }

  PresenceDesktop desktop_{Kind::openbox};
  std::uint32_t defaultButton_ = 0;
};

TEST_F(AlertThemeTest, IsReadableInLightColours) { expectReadable({}, 0xefefef); }

TEST_F(AlertThemeTest, IsReadableInTheDesktopsDarkColours) {
  const TemporaryFolder home;
  std::filesystem::create_directories(home.path() / ".config");
  std::ofstream(home.path() / ".config/kdeglobals") << "[Colors:Window]\n"
                                                       "BackgroundNormal=42,46,50\n"
                                                       "ForegroundNormal=252,252,252\n"
                                                       "[Colors:Button]\n"
                                                       "BackgroundNormal=49,54,59\n"
                                                       "ForegroundNormal=252,252,252\n"
                                                       "[Colors:Selection]\n"
                                                       "BackgroundNormal=61,174,233\n"
                                                       "ForegroundNormal=252,252,252\n";
  expectReadable({"HOME=" + home.path().string(), "XDG_CURRENT_DESKTOP=KDE",
                  "KDE_FULL_SESSION=true", "KDE_SESSION_VERSION=5"},
                 0x2a2e32);
}

TEST_F(AlertThemeTest, IsReadableInGnomesColours) {
  expectReadable({"XDG_CURRENT_DESKTOP=GNOME", "GTK_THEME=Adwaita"}, 0xf6f5f4, inGnomesOrder);
  expectReadable({"XDG_CURRENT_DESKTOP=ubuntu:GNOME", "GTK_THEME=Adwaita:dark"}, 0x353535,
                 inGnomesOrder);
}

TEST_F(AlertThemeTest, IsReadableInAStyleThatThePersonHasChosen) {
  expectReadable({"QT_STYLE_OVERRIDE=Adwaita-Dark"}, 0x353535);
  expectReadable({"XDG_CURRENT_DESKTOP=GNOME", "GTK_THEME=Adwaita", "QT_STYLE_OVERRIDE=Fusion"},
                 0xefefef, inGnomesOrder);
}

/// A bus that was stopped takes connections and says nothing.
TEST_F(AlertThemeTest, StartsAndAsksThoughTheMessageBusIsSilent) {
  const TemporaryFolder folder;
  const UnixListener silent(folder.path() / "bus");
  PresenceWindow program =
      start({"DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder.path() / "bus").string()});
  program.send("ask Ada");
  desktop_.tellWindow(desktop_.alert(), "WM_DELETE_WINDOW");
  EXPECT_EQ(program.line(), "denied");
}

/// The settings portal that programs of any kind ask, on a bus of its own.
class AlertAppearanceTest : public AlertThemeTest {
 protected:
  AlertAppearanceTest() {
    choose("0");
    portal_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/python3", "-B", VESK_APPEARANCE_PORTAL, choice_},
        std::vector{bus_.environment()});
    if (!waitUntil([&] { return std::filesystem::exists(choice_ + ".ready"); })) {
      throw std::runtime_error("the portal did not start");
    }
  }

  void choose(const std::string& appearance) { std::ofstream(choice_) << appearance; }

  static std::uint32_t fillFor(const QColor& accent) {
    QPalette palette;
    palette.setColor(QPalette::Highlight, accent);
    return alert::defaultButtonPalette(palette).color(QPalette::Button).rgb() & 0xffffffU;
  }

  TemporaryFolder folder_;
  MessageBus bus_{folder_.path()};
  std::string choice_ = folder_.path() / "choice";
  std::unique_ptr<ChildProcess> portal_;
};

TEST_F(AlertAppearanceTest, FollowsWhatThePersonChoosesMeanwhile) {
  PresenceWindow program = start({bus_.environment()});
  expectReadable(program, 0xefefef);
  choose("1");
  expectReadable(program, 0x353535);
  choose("2 0.9 0.4 0");
  expectReadable(program, 0xefefef);
  EXPECT_EQ(defaultButton_, fillFor(QColor::fromRgbF(0.9F, 0.4F, 0)));
  // Out of range, as portals say that none is chosen.
  choose("1 -1 -1 -1");
  expectReadable(program, 0x353535);
  EXPECT_NE(defaultButton_, fillFor(QColor::fromRgbF(0.9F, 0.4F, 0)));
}

TEST_F(AlertAppearanceTest, FollowsNothingThatCannotHaveBeenChosen) {
  PresenceWindow program = start({bus_.environment()});
  expectReadable(program, 0xefefef);
  const auto usual = defaultButton_;
  for (const auto* const accent : {"nan 0 0", "0 inf 0", "0 0 1.5"}) {
    SCOPED_TRACE(accent);
    choose("s1 " + std::string(accent));
    expectReadable(program, 0xefefef);
    EXPECT_EQ(defaultButton_, usual);
  }
}

TEST_F(AlertAppearanceTest, FollowsItInGnomesStyle) {
  PresenceWindow program =
      start({bus_.environment(), "XDG_CURRENT_DESKTOP=GNOME", "GTK_THEME=Adwaita"});
  choose("1 0.9 0.4 0");
  expectReadable(program, 0x353535, inGnomesOrder);
  EXPECT_EQ(defaultButton_, fillFor(QColor::fromRgbF(0.9F, 0.4F, 0)));
  choose("0");
  expectReadable(program, 0xf6f5f4, inGnomesOrder);
}

TEST_F(AlertAppearanceTest, IsReadableInDarkColoursInAStyleThatThePersonHasChosen) {
  choose("1");
  const std::pair<std::string, std::uint32_t> styles[] = {{"Fusion", 0x353535},
                                                          {"Adwaita-Dark", 0x353535},
                                                          {"Adwaita", 0x353535},
                                                          {"HighContrast", 0x303030}};
  for (const auto& [style, background] : styles) {
    SCOPED_TRACE(style);
    PresenceWindow program = start({bus_.environment(), "QT_STYLE_OVERRIDE=" + style});
    program.send("ask Ada");
    const Place at = placeOf(desktop_, desktop_.alert());
    ASSERT_TRUE(desktop_.waitForPixel(at.x + 10, at.y + 10, background))
        << std::hex << desktop_.pixel(at.x + 10, at.y + 10);
    const auto dontAllow = desktop_.pixels(at.x + at.width - 104, at.y + at.height - 39, 72, 14);
    EXPECT_GE(readablePixels(dontAllow), 40);
  }
}

/// It has stopped, or is busy: the person is asked all the same.
TEST_F(AlertAppearanceTest, AsksThePersonThoughThePortalDoesNotAnswer) {
  PresenceWindow program = start({bus_.environment()});
  choose("1");
  ::kill(portal_->pid(), SIGSTOP);
  const auto start = steady_clock::now();
  program.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  EXPECT_NE(alert, xcb_window_t{XCB_NONE});
  EXPECT_LT(steady_clock::now() - start, milliseconds(patience() / 4));
  desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
  EXPECT_EQ(program.line(), "denied");
  ::kill(portal_->pid(), SIGCONT);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "e2e/PresenceFixture.h"
#include "platform/linux/alert/AlertColours.h"
#include "support/TemporaryFolder.h"

namespace vesk::testing {
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

class AlertThemeTest : public ::testing::Test {
 protected:
  void expectReadable(std::vector<std::string> environment, std::uint32_t background) {
    environment.push_back(desktop_.server().environment());
    PresenceWindow program(environment);
    program.send("ask Ada");
    const xcb_window_t alert = desktop_.alert();
    const Place at = placeOf(desktop_, alert);
    ASSERT_TRUE(desktop_.waitForPixel(at.x + 10, at.y + 10, background));
    const int right = at.x + at.width;
    const int bottom = at.y + at.height;
    EXPECT_GE(contrastIn(desktop_.pixels(at.x + 104, at.y + 20, 300, 20)), 4.5) << "message";
    EXPECT_GE(contrastIn(desktop_.pixels(at.x + 104, at.y + 48, 300, 24)), 4.5) << "explanation";
    EXPECT_GE(contrastIn(desktop_.pixels(right - 185, bottom - 39, 46, 14)), 4.5) << "Allow";
    EXPECT_GE(contrastIn(desktop_.pixels(right - 104, bottom - 39, 72, 14)), 4.5) << "Don't Allow";
    // Which button is the default one is to be seen from its colour.
    EXPECT_NE(desktop_.pixel(right - 190, bottom - 32), desktop_.pixel(right - 110, bottom - 32));
    desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
    EXPECT_EQ(program.line(), "denied");
  }

  PresenceDesktop desktop_{Kind::openbox};
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

}  // namespace
}  // namespace vesk::testing

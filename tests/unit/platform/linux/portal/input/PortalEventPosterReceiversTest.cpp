#include <fstream>
#include <iterator>
#include <regex>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"
#include "support/waylandPrograms.h"
#include "unit/platform/linux/portal/input/PosterFixture.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

/// Programs as a person has them, which write down what they were given.
class PortalEventPosterReceiversTest : public PosterFixtureOn<session::AskedDesktop> {
 protected:
  PortalEventPosterReceiversTest() { std::ofstream(folder.path() / "text").close(); }

  std::string file() const { return (folder.path() / "text").string(); }

  std::string content() const { return testing::contentsOf(file()); }

  bool hasSaid(const std::string& text) const {
    return testing::waitUntil([&] { return content().find(text) != npos; });
  }

  void click(Point point) {
    mouse(EventType::leftMouseDown, point);
    mouse(EventType::leftMouseUp, point);
  }

  static constexpr auto npos = std::string::npos;
  testing::TemporaryFolder folder;
};

TEST_F(PortalEventPosterReceiversTest, TypesInATerminal) {
  window.reset();
  const testing::ChildProcess terminal({"foot", "--fullscreen", "sh", "-c", "cat > " + file()},
                                       desktop.environment());
  ASSERT_TRUE(testing::waitUntil([&] {
    // A compositor need not give the focus to a program that the person has not asked for.
    click({500, 500});
    type(u"\n");
    return !content().empty();
  })) << "it has the focus";
  type(u"äZ€中 ok~\n");
  strike(0x00, eventFlag::shift);
  strike(0x10);
  strike(0x24);
  EXPECT_TRUE(testing::waitUntil([&] { return content().ends_with("Z€ ok~\nAy\n"); })) << content();
}

TEST_F(PortalEventPosterReceiversTest, TypesInAToolkitsEntry) {
  window.reset();
  auto environment = desktop.environment();
  environment.insert(environment.end(), {"GDK_BACKEND=wayland", "NO_AT_BRIDGE=1", "LC_ALL=C.UTF-8",
                                         "GSETTINGS_BACKEND=memory", "WAYLAND_DEBUG=client"});
  const std::string protocol = (folder.path() / "protocol").string();
  const testing::ChildProcess entry(
      {"sh", "-c", "exec zenity --entry > " + file() + " 2> " + protocol}, environment);
  ASSERT_TRUE(testing::waitUntil([&] {
    click({300, 60});
    return std::regex_search(testing::contentsOf(protocol), std::regex("wl_keyboard@\\d+\\.enter"));
  })) << "it has the focus";
  type(u"äZ€中 ok~");
  strike(0x00, eventFlag::shift);
  type(u"\n");
  EXPECT_TRUE(testing::waitUntil([&] { return content().ends_with("Z€ ok~A\n"); })) << content();
}

TEST_F(PortalEventPosterReceiversTest, TypesInAnotherToolkitsEntry) {
  window.reset();
  const testing::ChildProcess entry({"sh", "-c", "exec " VESK_QT_ENTRY " > " + file()},
                                    testing::environmentForQt(desktop.environment()));
  ASSERT_TRUE(testing::waitUntil([&] {
    click({300, 60});
    return content().find("ready\n") != npos;
  })) << "it has the focus";
  type(u"äZ€中 ok~");
  strike(0x00, eventFlag::shift);
  EXPECT_TRUE(hasSaid("Z€ ok~A\n")) << content();
  strike(0x00, eventFlag::control);
  EXPECT_TRUE(testing::waitUntil([&] { return content().ends_with("Z€ ok~A\n"); })) << content();
  EXPECT_TRUE(hasSaid("selected:")) << content();
}

/// Which takes nothing from keys that are on no usual keyboard, as that of the euro.
TEST_F(PortalEventPosterReceiversTest, TypesInABrowser) {
  window.reset();
  auto command = testing::browserWith(
      "<body style='margin: 0'><textarea autofocus style='width: 100vw; height: 100vh' "
      "oninput='console.log(`text:${value}.`)' "
      "onselect='console.log(`selected:${value}.`)'></textarea>",
      folder.path());
  command.insert(command.end(), {"--kiosk", "--enable-logging=stderr"});
  command.insert(command.begin(), {"sh", "-c", "exec \"$@\" 2> " + file(), "sh"});
  const testing::ChildProcess browser(command, desktop.environment());
  ASSERT_TRUE(testing::waitUntil([&] {
    click({500, 500});
    type(u"x");
    return content().find("text:x") != npos;
  })) << content();
  type(u"äZ{中 ok~");
  strike(0x00, eventFlag::shift);
  EXPECT_TRUE(hasSaid("Z{ ok~A.")) << content();
  strike(0x00, eventFlag::control);
  EXPECT_TRUE(hasSaid("selected:x")) << content();
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE

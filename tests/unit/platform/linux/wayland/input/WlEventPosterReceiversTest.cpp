#include "support/TemporaryFolder.h"
#include "support/XServer.h"
#include "support/waylandPrograms.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

/// Programs as a person has them, which write down what they were given. The devices are there
/// before them: on a busy machine a program notices a seat's first keyboard too late to hear it.
class WlEventPosterReceiversTest : public PosterFixture {
 protected:
  void SetUp() override {
    move({10, 10});
    ASSERT_TRUE(testing::waitUntil([this] { return devices() == 2; }));
  }

  std::string file() const { return (folder.path() / "text").string(); }

  std::string content() const { return testing::contentsOf(file()); }

  bool isShown(const std::string& name) const {
    return testing::waitUntil([&] {
      return sway.ask("get_tree").find("\"app_id\": \"" + name + "\"") != std::string::npos &&
             std::filesystem::exists(file());
    });
  }

  static constexpr auto npos = std::string::npos;
  testing::TemporaryFolder folder;
};

TEST_F(WlEventPosterReceiversTest, TypesInATerminal) {
  const testing::ChildProcess terminal({"foot", "sh", "-c", "cat > " + file()}, sway.environment());
  ASSERT_TRUE(isShown("foot"));
  type(u"äZ€中😀 ok\n");
  strike(0x00, eventFlag::shift);
  strike(0x10);
  strike(0x24);
  EXPECT_TRUE(testing::waitUntil([&] { return content() == "äZ€中😀 ok\nAy\n"; })) << content();
}

TEST_F(WlEventPosterReceiversTest, TypesInAToolkitsEntry) {
  auto environment = sway.environment();
  environment.insert(environment.end(),
                     {"GDK_BACKEND=wayland", "NO_AT_BRIDGE=1", "LC_ALL=C.UTF-8",
                      "DBUS_SESSION_BUS_ADDRESS=disabled:", "GSETTINGS_BACKEND=memory"});
  const testing::ChildProcess entry({"sh", "-c", "exec zenity --entry > " + file()}, environment);
  ASSERT_TRUE(isShown("zenity"));
  type(u"äZ€中😀 ok");
  strike(0x00, eventFlag::shift);
  type(u"\n");
  EXPECT_TRUE(testing::waitUntil([&] { return content() == "äZ€中😀 okA\n"; })) << content();
}

TEST_F(WlEventPosterReceiversTest, TypesInAnotherToolkitsEntry) {
  const testing::ChildProcess entry({"sh", "-c", "exec " VESK_QT_ENTRY " > " + file()},
                                    testing::environmentForQt(sway.environment()));
  ASSERT_TRUE(testing::waitUntil([&] { return content().starts_with("ready\n"); }));
  type(u"äZ€中😀 ok");
  strike(0x00, eventFlag::shift);
  EXPECT_TRUE(testing::waitUntil([&] { return content().find("text:äZ€中😀 okA\n") != npos; }))
      << content();
  strike(0x00, eventFlag::control);
  EXPECT_TRUE(testing::waitUntil([&] { return content().ends_with("selected:äZ€中😀 okA\n"); }))
      << content();
}

/// The page writes its field into its title, and so into the window's name. It tells nobody when it
/// begins to listen; characters beyond the first 65,536 it drops by itself.
TEST_F(WlEventPosterReceiversTest, TypesInABrowser) {
  const testing::ChildProcess browser(
      testing::browserWith("<textarea autofocus "
                           "oninput='document.title = `text:${value}.`' "
                           "onselect='document.title = `selected:${value}.`'></textarea>",
                           folder.path()),
      sway.environment());
  const auto isNamed = [&](const std::string& part) {
    return sway.ask("get_tree").find(part) != npos;
  };
  ASSERT_TRUE(testing::waitUntil([&] {
    type(u"x");
    return isNamed("\"text:x");
  })) << sway.ask("get_tree");
  type(u"äZ€中Ж ok");
  strike(0x00, eventFlag::shift);
  EXPECT_TRUE(testing::waitUntil([&] { return isNamed("xäZ€中Ж okA.\""); }))
      << sway.ask("get_tree");
  strike(0x00, eventFlag::control);
  EXPECT_TRUE(testing::waitUntil([&] { return isNamed("\"selected:x"); })) << sway.ask("get_tree");
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE

#include <fstream>
#include <iterator>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

/// Programs as a person has them, which write down what they were given.
class WlEventPosterReceiversTest : public PosterFixture {
 protected:
  std::string file() const { return (folder.path() / "text").string(); }

  std::string content() const {
    std::ifstream stream(file());
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  bool isShown(const std::string& name) const {
    return testing::waitUntil([&] {
      return sway.ask("get_tree").find("\"app_id\": \"" + name + "\"") != std::string::npos &&
             std::filesystem::exists(file());
    });
  }

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

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE

#include <fstream>
#include <iterator>

#include "support/TemporaryFolder.h"
#include "support/XServer.h"
#include "unit/platform/linux/portal/input/PosterFixture.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

/// Programs as a person has them, which write down what they were given.
class PortalEventPosterReceiversTest : public PosterFixtureOn<session::AskedDesktop> {
 protected:
  PortalEventPosterReceiversTest() { std::ofstream(folder.path() / "text").close(); }

  std::string file() const { return (folder.path() / "text").string(); }

  std::string content() const {
    std::ifstream stream(file());
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  testing::TemporaryFolder folder;
};

TEST_F(PortalEventPosterReceiversTest, TypesInATerminal) {
  window.reset();
  const testing::ChildProcess terminal({"foot", "--fullscreen", "sh", "-c", "cat > " + file()},
                                       desktop.environment());
  ASSERT_TRUE(testing::waitUntil([&] {
    // A compositor need not give the focus to a program that the person has not asked for.
    mouse(EventType::leftMouseDown, {500, 500});
    mouse(EventType::leftMouseUp, {500, 500});
    type(u"\n");
    return !content().empty();
  })) << "it has the focus";
  type(u"äZ€中 ok~\n");
  strike(0x00, eventFlag::shift);
  strike(0x10);
  strike(0x24);
  EXPECT_TRUE(testing::waitUntil([&] { return content().ends_with("Z€ ok~\nAy\n"); })) << content();
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE

#include "platform/linux/keys/HeldRecord.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/TemporaryFolder.h"

namespace vesk::keys::VESK_FILE {
namespace {

class HeldRecordTest : public ::testing::Test {
 protected:
  HeldRecordTest() {
    ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    ::setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  }

  static std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  testing::TemporaryFolder folder;
  std::filesystem::path path = folder.path() / "vesk-remote-held-wayland-7";
};

TEST_F(HeldRecordTest, TellsASuccessorWhatIsHeldAndOnlyThat) {
  HeldRecord record;
  EXPECT_FALSE(record.isLeftBehind());
  record.add(30);
  record.add(272);
  record.remove(30);
  const HeldRecord successor;
  EXPECT_TRUE(successor.isLeftBehind());
  EXPECT_EQ(successor.read(), (std::set<HeldRecord::Key>{30, 272}))
      << "what lets go may not have been sent yet";
  record.update();
  EXPECT_EQ(successor.read(), std::set<HeldRecord::Key>{272});
  record.remove(272);
  record.update();
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(HeldRecordTest, IsItsUsersAlone) {
  HeldRecord record;
  record.add(30);
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(HeldRecordTest, TakesNothingForNumbersThatAreNone) {
  std::ofstream(path) << "30 nonsense 42";
  EXPECT_EQ(HeldRecord().read(), std::set<HeldRecord::Key>{30});
  std::ofstream(path) << std::string(1 << 20, '9');
  EXPECT_TRUE(HeldRecord().read().size() <= 1);
}

/// It would be waited for otherwise until somebody writes.
TEST_F(HeldRecordTest, LeavesAPipeAlone) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  HeldRecord record;
  EXPECT_TRUE(record.read().empty());
  record.add(30);
  record.clear();
}

TEST_F(HeldRecordTest, LeavesAloneWhatALinkPointsTo) {
  const auto target = folder.path() / "target";
  std::ofstream(target) << "30";
  std::filesystem::create_symlink(target, path);
  HeldRecord record;
  EXPECT_TRUE(record.read().empty());
  record.add(42);
  EXPECT_EQ(contentOf(target), "30");
}

TEST_F(HeldRecordTest, IsNowhereWithoutARuntimeFolder) {
  ::unsetenv("XDG_RUNTIME_DIR");
  HeldRecord record;
  record.add(30);
  EXPECT_TRUE(HeldRecord().read().empty());
  EXPECT_FALSE(HeldRecord().isLeftBehind());
}

}  // namespace
}  // namespace vesk::keys::VESK_FILE

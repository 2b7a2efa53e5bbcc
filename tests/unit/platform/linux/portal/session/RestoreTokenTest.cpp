#include "platform/linux/portal/session/RestoreToken.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "support/TemporaryFolder.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

class RestoreTokenTest : public ::testing::Test {
 protected:
  testing::TemporaryFolder folder;
  std::filesystem::path path = folder.path() / "state" / "vesk-remote" / "portal-token";
  RestoreToken token{path};
};

TEST_F(RestoreTokenTest, IsReadAsItWasWritten) {
  EXPECT_EQ(token.read(), "");
  token.write("6f1c-one");
  EXPECT_EQ(token.read(), "6f1c-one");
  token.write("two");
  EXPECT_EQ(token.read(), "two");
  token.write("");
  EXPECT_EQ(token.read(), "");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RestoreTokenTest, IsItsUsersAlone) {
  token.write("one");
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  std::filesystem::permissions(path, std::filesystem::perms::all);
  token.write("two");
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(RestoreTokenTest, LiesInTheFolderForState) {
  ::setenv("XDG_STATE_HOME", (folder.path() / "state").c_str(), 1);
  RestoreToken().write("one");
  EXPECT_EQ(token.read(), "one");
  ::unsetenv("XDG_STATE_HOME");
  ::setenv("HOME", folder.path().c_str(), 1);
  RestoreToken().write("two");
  EXPECT_TRUE(std::filesystem::exists(folder.path() / ".local/state/vesk-remote/portal-token"));
}

TEST_F(RestoreTokenTest, IsNoneWhereTheFileHoldsSomethingElse) {
  std::filesystem::create_directories(path.parent_path());
  for (const std::string& content :
       {std::string(), std::string("two words"), std::string("line\n"), std::string("\x80\xff"),
        std::string("a\0b", 3), std::string(100'000, 'x')}) {
    std::ofstream(path) << content;
    EXPECT_EQ(token.read(), "");
  }
  token.write("one\n");
  EXPECT_FALSE(std::filesystem::exists(path)) << "nor is it written";
}

/// It would be waited for otherwise until somebody writes.
TEST_F(RestoreTokenTest, LeavesPipesAndLinksAlone) {
  std::filesystem::create_directories(path.parent_path());
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(token.read(), "");
  std::filesystem::remove(path);
  const auto target = folder.path() / "target";
  std::ofstream(target) << "theirs";
  std::filesystem::create_symlink(target, path);
  EXPECT_EQ(token.read(), "");
  std::filesystem::create_symlink(target, path.string() + ".new");
  token.write("one");
  std::ifstream file(target);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "theirs");
  EXPECT_EQ(token.read(), "one");
}

TEST_F(RestoreTokenTest, IsForgottenWhereNothingCanBeWritten) {
  std::ofstream(folder.path() / "state") << "a file where the folder would be";
  token.write("one");
  EXPECT_EQ(token.read(), "");
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE

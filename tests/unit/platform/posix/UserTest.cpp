#include "platform/User.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

namespace vesk::VESK_FILE {
namespace {

TEST(UserTest, IsTheOneOfTheProcess) {
  EXPECT_EQ(userId(), ::getuid());
  EXPECT_EQ(loginName(), ::getpwuid(::getuid())->pw_name);
}

TEST(UserTest, HasTheHomeOfTheEnvironmentElseOfTheDatabase) {
  const std::string before = ::getenv("HOME");
  EXPECT_EQ(homeDirectory(), before);
  ::unsetenv("HOME");
  EXPECT_EQ(homeDirectory(), ::getpwuid(::getuid())->pw_dir);
  ::setenv("HOME", "", 1);
  EXPECT_EQ(homeDirectory(), ::getpwuid(::getuid())->pw_dir);
  ::setenv("HOME", before.c_str(), 1);
}

}  // namespace
}  // namespace vesk::VESK_FILE

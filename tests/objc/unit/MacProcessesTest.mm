#include "platform/macos/MacProcesses.h"

#include <gtest/gtest.h>

#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"
#include "objc/support/ObjcFixture.h"

namespace vesk::mac {
namespace {

class MacProcessesTest : public testing::ObjcFixture {
 protected:
  MacProcessesTest() { fakes::bundleIdentifier = @"com.vesk.tovarin.screen"; }
  ~MacProcessesTest() override { fakes::bundleIdentifier = nil; }

  fakes::Desk& desk_ = fakes::desk();
  MacProcesses processes_;
};

TEST_F(MacProcessesTest, KnowsItsBundle) {
  EXPECT_EQ(processes_.mainBundleIdentifier(), "com.vesk.tovarin.screen");
  fakes::bundleIdentifier = nil;
  EXPECT_EQ(processes_.mainBundleIdentifier(), std::nullopt);
}

TEST_F(MacProcessesTest, FindsTheApplicationsOfABundle) {
  desk_.applications = {300, 200};
  EXPECT_EQ(processes_.runningApplications("com.vesk.tovarin.screen"),
            (std::vector<ProcessId>{300, 200}));
  EXPECT_TRUE(processes_.runningApplications("com.vesk.other").empty());
}

/// An application that has ended still has an object, and minus one for its process.
TEST_F(MacProcessesTest, EndsNothingThatIsNoProcess) {
  desk_.applications = {-1, 0};
  EXPECT_FALSE(processes_.forceTerminate(-1));
  EXPECT_FALSE(processes_.forceTerminate(0));
  EXPECT_TRUE(desk_.ended.empty());
}

TEST_F(MacProcessesTest, EndsOneProcessAndSaysWhetherItCould) {
  desk_.applications = {300};
  EXPECT_TRUE(processes_.forceTerminate(300));
  EXPECT_FALSE(processes_.forceTerminate(400));
  EXPECT_FALSE(processes_.forceTerminate(-1));
  EXPECT_FALSE(processes_.forceTerminate(0));
  EXPECT_EQ(desk_.ended, std::vector<pid_t>{300});
  desk_.refusesToEnd = true;
  EXPECT_FALSE(processes_.forceTerminate(300));
}

}  // namespace
}  // namespace vesk::mac

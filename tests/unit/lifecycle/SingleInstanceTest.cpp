#include "lifecycle/SingleInstance.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/RecordingProcesses.h"
#include "platform/User.h"
#include "support/LogLines.h"

namespace vesk::VESK_FILE {
namespace {

using Lines = std::vector<std::string>;

class SingleInstanceTest : public ::testing::Test {
 protected:
  fakes::RecordingProcesses processes_;
  vesk::testing::LogLines log_;
};

TEST_F(SingleInstanceTest, IsStartedByTheJobOnlyWhenTheVariableHoldsItsLabel) {
  EXPECT_FALSE(SingleInstance::startedByOurJob(processes_));
  for (const auto* other : {"", "0", "com.vesk.tovarin", "com.vesk.tovarin.screen ",
                            "COM.VESK.TOVARIN.SCREEN", "com.vesk.tovarin.screen.other"}) {
    processes_.variables["XPC_SERVICE_NAME"] = other;
    EXPECT_FALSE(SingleInstance::startedByOurJob(processes_)) << other;
  }
  processes_.variables["XPC_SERVICE_NAME"] = "com.vesk.tovarin.screen";
  EXPECT_TRUE(SingleInstance::startedByOurJob(processes_));
}

TEST_F(SingleInstanceTest, TheJobsOwnProcessGoesOnWithoutAWord) {
  processes_.variables["XPC_SERVICE_NAME"] = "com.vesk.tovarin.screen";
  SingleInstance::handOverIfNotOurJob(processes_);
  EXPECT_EQ(processes_.calls, Lines{});
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(SingleInstanceTest, AnyOtherProcessHandsOverAndExits) {
  processes_.variables["XPC_SERVICE_NAME"] = "some.other.job";
  processes_.own = 4711;
  EXPECT_THROW(SingleInstance::handOverIfNotOurJob(processes_), fakes::ProcessExited);
  EXPECT_EQ(processes_.calls, (Lines{"run /bin/launchctl kickstart gui/" +
                                         std::to_string(userId()) + "/com.vesk.tovarin.screen",
                                     "exit 0"}));
  EXPECT_EQ(log_.messages(), Lines{"Started outside launchd (pid 4711); handing over to "
                                   "com.vesk.tovarin.screen and quitting."});
}

TEST_F(SingleInstanceTest, ClosesNothingWhenItIsAlone) {
  processes_.running = {processes_.own};
  SingleInstance::closeOthers(processes_);
  EXPECT_EQ(processes_.calls, Lines{"look for com.vesk.tovarin.screen"});
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(SingleInstanceTest, ClosesEveryOtherCopyInTheOrderReturned) {
  processes_.running = {301, processes_.own, 42};
  processes_.refusing = {42};
  SingleInstance::closeOthers(processes_);
  EXPECT_EQ(processes_.calls,
            (Lines{"look for com.vesk.tovarin.screen", "force 301", "force 42", "terminate 42"}));
  EXPECT_EQ(log_.messages(), (Lines{"Closing another copy of Vesk Remote (pid 301).",
                                    "Closing another copy of Vesk Remote (pid 42)."}));
}

TEST_F(SingleInstanceTest, LooksForItsOwnBundleWhereItHasOne) {
  processes_.bundle = "com.vesk.tovarin.screen.beta";
  SingleInstance::closeOthers(processes_);
  EXPECT_EQ(processes_.calls, Lines{"look for com.vesk.tovarin.screen.beta"});
}

}  // namespace
}  // namespace vesk::VESK_FILE

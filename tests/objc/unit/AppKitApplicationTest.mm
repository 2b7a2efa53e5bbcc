#include "platform/macos/AppKitApplication.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "objc/dispatch/MainLoop.h"
#include "objc/frameworks/AppKit.h"
#include "objc/support/ObjcFixture.h"
#include "support/Patience.h"

namespace vesk::mac {
namespace {

class Delegate final : public ApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    ++launches;
    if (atLaunch) atLaunch();
  }
  void applicationWillTerminate() override {
    ++ends;
    endedOn = std::this_thread::get_id();
    fakes::MainLoop::only().stop();
  }
  std::function<void()> atLaunch;
  int launches = 0;
  int ends = 0;
  std::thread::id endedOn;
};

/// As in the program, one application for the life of the process: signals find none other.
class AppKitApplicationTest : public testing::ObjcFixture {
 protected:
  AppKitApplicationTest() {
    application_.setActivationPolicy(ActivationPolicy::accessory);
    application_.setDelegate(delegate_);
  }

  AppKitApplication application_;
  Delegate delegate_;
};

TEST_F(AppKitApplicationTest, TellsItsDelegateOfTheBeginningAndOfSignals) {
  delegate_.atLaunch = [] { fakes::soon([] { std::raise(SIGTERM); }); };
  application_.run();
  runUntil([] { return false; }, std::chrono::milliseconds(20));
  EXPECT_EQ(delegate_.launches, 1);
  EXPECT_EQ(delegate_.ends, 1);
  EXPECT_EQ(delegate_.endedOn, std::this_thread::get_id());
}

TEST_F(AppKitApplicationTest, TellsOfASignalWithinAnAlertThatATaskHasPutUp) {
  int answers = 0;
  fakes::desk().onAlert = [](NSAlert*) { std::raise(SIGINT); };
  // Where the alert's loop leaves the signal alone.
  fakes::MainLoop::only().addTimer(std::chrono::milliseconds(testing::patience()),
                                   [] { fakes::respond(NSModalResponseAbort); });
  fakes::MainLoop::only().async([&] {
    [[NSAlert new] runModal];
    ++answers;
    // What the signal has ended is the alert's loop.
    fakes::MainLoop::only().stop();
  });
  application_.run();
  EXPECT_EQ(delegate_.ends, 1);
  EXPECT_EQ(answers, 1);
}

/// At a logout, or where somebody asks for its end, the system sends no signal.
TEST_F(AppKitApplicationTest, IsToldWhenTheSystemEndsIt) {
  delegate_.atLaunch = [] { fakes::soon(fakes::quit); };
  application_.run();
  EXPECT_EQ(delegate_.ends, 1);
  EXPECT_EQ(delegate_.endedOn, std::this_thread::get_id());
  // The process has not ended, so what listens for signals is still there.
  std::raise(SIGTERM);
  EXPECT_TRUE(runUntil([this] { return delegate_.ends == 2; }));
}

}  // namespace
}  // namespace vesk::mac

#include "platform/macos/AppKitAlerts.h"

#include <gtest/gtest.h>

#include "fakes/ManualClock.h"
#include "objc/dispatch/MainLoop.h"
#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"
#include "objc/runtime/Runtime.h"
#include "objc/support/ObjcFixture.h"

namespace vesk::mac {
namespace {

using namespace std::chrono_literals;
using fakes::click;
using fakes::escapeKey;
using fakes::keyDown;
using fakes::keyUp;
using fakes::returnKey;

constexpr auto allow = ModalResponse::alertFirstButtonReturn;
constexpr auto refuse = ModalResponse::alertSecondButtonReturn;

/// Seconds after the alert has come up: within the time in which nothing counts, and after it.
constexpr double soon = 0.1;
constexpr double later = 0.7;

/// An alert, and a hand that does something while it is up. Where that answers nothing, the alert
/// is aborted.
class AppKitAlertsTest : public testing::ObjcFixture {
 protected:
  /// As in the program: without an application nobody ends a loop.
  AppKitAlertsTest() { (void)NSApplication.sharedApplication; }

  ModalResponse run(std::function<void(NSAlert*)> hand) {
    desk_.onAlert = [this, hand = std::move(hand)](NSAlert* alert) {
      gateWasOpen_ = gate_.isOpen();
      hand(alert);
      fakes::soon([this] { alerts_.abortModal(); });
    };
    const auto alert = alerts_.makeAlert();
    alert->setMessageText("Anna\nwould like to view your screen");
    alert->setInformativeText("You can say no.");
    alert->addButton("Allow");
    alert->addButton("Don't Allow");
    alert->setLevel(WindowLevel::modalPanel);
    return alert->runModal();
  }

  fakes::Desk& desk_ = fakes::desk();
  fakes::ManualClock clock_;
  InputGate gate_{clock_};
  AppKitAlerts alerts_{gate_};
  bool gateWasOpen_ = true;
};

TEST_F(AppKitAlertsTest, SaysWhatItIsTold) {
  run([this](NSAlert* alert) {
    EXPECT_STREQ(alert.messageText.UTF8String, "Anna would like to view your screen");
    EXPECT_STREQ(alert.informativeText.UTF8String, "You can say no.");
    EXPECT_EQ(alert.titles, (std::vector<std::string>{"Allow", "Don't Allow"}));
    EXPECT_EQ(alert.window.level, 8);
    EXPECT_EQ(desk_.shown.size(), 1U);
  });
  EXPECT_EQ(desk_.alerts, 1);
}

TEST_F(AppKitAlertsTest, IsGoneAfterwards) {
  const auto before = objc::census();
  @autoreleasepool {
    run([](NSAlert*) { click(0, later); });
  }
  EXPECT_TRUE(desk_.shown.empty());
  desk_.onAlert = nullptr;
  EXPECT_EQ(objc::census(), before);
}

TEST_F(AppKitAlertsTest, ShutsTheViewersInputOutMeanwhile) {
  EXPECT_TRUE(gate_.isOpen());
  run([](NSAlert*) {});
  EXPECT_FALSE(gateWasOpen_);
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(AppKitAlertsTest, IsAnsweredByAClickThatComesLateEnough) {
  EXPECT_EQ(run([](NSAlert*) { click(0, later); }), allow);
  EXPECT_EQ(run([](NSAlert*) { click(1, later); }), refuse);
  EXPECT_EQ(run([](NSAlert*) { click(0, soon); }), ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, IsAnsweredByAKeyThatComesLateEnough) {
  EXPECT_EQ(run([](NSAlert*) { keyDown(returnKey, later); }), allow);
  EXPECT_EQ(run([](NSAlert*) { keyDown(escapeKey, later); }), refuse);
  EXPECT_EQ(run([](NSAlert*) { keyDown(returnKey, soon); }), ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, IsNotAnsweredByAKeyThatWasHeldBefore) {
  for (const auto state :
       {kCGEventSourceStateHIDSystemState, kCGEventSourceStateCombinedSessionState}) {
    system_.heldKeys = {{state, {returnKey}}};
    EXPECT_EQ(run([](NSAlert*) { keyDown(returnKey, later); }), ModalResponse::abort);
    EXPECT_EQ(run([](NSAlert*) {
                keyUp(returnKey, later);
                keyDown(returnKey, later + 0.1);
              }),
              allow);
  }
}

TEST_F(AppKitAlertsTest, IsNotAnsweredByWhatRepeats) {
  EXPECT_EQ(run([](NSAlert*) { keyDown(returnKey, later, /*isRepeat=*/true); }),
            ModalResponse::abort);
  EXPECT_EQ(run([](NSAlert*) {
              keyDown(returnKey, soon);
              keyDown(returnKey, later);
            }),
            ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, IsNotAnsweredRightAfterAMoveOrAnotherSize) {
  const auto standing = [](NSNotificationName happens) {
    return [happens](NSAlert* alert) {
      fakes::MainLoop::only().advance(1s);
      [NSNotificationCenter.defaultCenter post:happens object:alert.window];
      click(0, soon);
    };
  };
  EXPECT_EQ(run(standing(@"nothing")), allow);
  EXPECT_EQ(run(standing(NSWindowDidMoveNotification)), ModalResponse::abort);
  EXPECT_EQ(run(standing(NSWindowDidResizeNotification)), ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, IsNotAnsweredOutOfSight) {
  EXPECT_EQ(run([](NSAlert* alert) {
              [alert.window setOcclusionState:0];
              click(0, later);
              keyDown(returnKey, later);
            }),
            ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, IsNotAnsweredByKeysThatAnotherWindowHas) {
  EXPECT_EQ(run([](NSAlert* alert) {
              [NSNotificationCenter.defaultCenter post:NSWindowDidResignKeyNotification
                                                object:alert.window];
              keyDown(returnKey, later);
            }),
            ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, ListensToItsOwnWindowAlone) {
  NSWindow* const other = [NSWindow new];
  EXPECT_EQ(run([other](NSAlert*) {
              [NSNotificationCenter.defaultCenter post:NSWindowDidResignKeyNotification
                                                object:other];
              keyDown(returnKey, later);
            }),
            allow);
}

TEST_F(AppKitAlertsTest, EndsByAnExceptionAndByAReturn) {
  desk_.abortThrows = true;
  EXPECT_EQ(run([](NSAlert*) {}), ModalResponse::abort);
  EXPECT_TRUE(gate_.isOpen());
  desk_.abortThrows = false;
  EXPECT_EQ(run([](NSAlert*) {}), ModalResponse::abort);
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(AppKitAlertsTest, HasNobodysConsentWhereItDoesNotComeUp) {
  desk_.alertThrows = true;
  EXPECT_EQ(alerts_.makeAlert()->runModal(), ModalResponse::abort);
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(AppKitAlertsTest, AbortsNothingWhereNothingRuns) {
  for (const bool throws : {true, false}) {
    desk_.abortThrows = throws;
    alerts_.abortModal();
    EXPECT_EQ(run([](NSAlert*) { click(0, later); }), allow);
    alerts_.abortModal();
  }
  EXPECT_EQ(desk_.alerts, 2);
}

TEST_F(AppKitAlertsTest, IsEndedByATimerWithinItsLoop) {
  int fired = 0;
  desk_.onAlert = [](NSAlert*) { fakes::MainLoop::only().advance(60s); };
  for (const bool throws : {true, false}) {
    desk_.abortThrows = throws;
    const auto timer = alerts_.startModalTimer(60s, [&] {
      ++fired;
      alerts_.abortModal();
    });
    EXPECT_EQ(alerts_.makeAlert()->runModal(), ModalResponse::abort);
    timer->invalidate();
  }
  EXPECT_EQ(fired, 2);
}

TEST_F(AppKitAlertsTest, IsNotEndedByATimerThatWasInvalidatedOrHasGone) {
  const auto invalidated = alerts_.startModalTimer(1s, [] { ADD_FAILURE() << "invalidated"; });
  invalidated->invalidate();
  alerts_.startModalTimer(1s, [] { ADD_FAILURE() << "gone"; }).reset();
  const auto last = alerts_.startModalTimer(2s, [this] { alerts_.abortModal(); });
  desk_.onAlert = [](NSAlert*) { fakes::MainLoop::only().advance(10s); };
  EXPECT_EQ(alerts_.makeAlert()->runModal(), ModalResponse::abort);
}

TEST_F(AppKitAlertsTest, KeepsItsHandsOffKeysAfterwards) {
  run([](NSAlert*) {});
  NSAlert* const another = [NSAlert new];
  [another addButtonWithTitle:@"OK"];
  desk_.onAlert = [](NSAlert*) { keyDown(returnKey, soon); };
  EXPECT_EQ([another runModal], 1000);
}

TEST_F(AppKitAlertsTest, BringsTheProgramToTheFront) {
  alerts_.activateIgnoringOtherApps();
  EXPECT_EQ(desk_.activations, 1);
}

}  // namespace
}  // namespace vesk::mac

#include "platform/linux/wayland/alert/WlAlertStage.h"

#include <signal.h>

#include "platform/linux/wayland/overlay/LayerSurface.h"
#include "support/AlertFixture.h"

namespace vesk::wayland::alert::VESK_FILE {
namespace {

constexpr auto allowed = ModalResponse::alertFirstButtonReturn;
constexpr auto refused = ModalResponse::alertSecondButtonReturn;

class WlAlertStageTest : public testing::AlertFixture {
 protected:
  void expectUnanswered() {
    pass(Milliseconds(100));
    EXPECT_TRUE(isAsked());
    alerts_->abortModal();
  }

  testing::WlWindow window_;
};

TEST_F(WlAlertStageTest, TakesTheKeysFromAFullScreenWindowAndAllowsByReturn) {
  hand_.tap(KEY_A);
  ASSERT_TRUE(window_.waitFor([](const auto& seen) { return seen.text == "a"; }));
  EXPECT_EQ(ask([this] {
              pass(settled);
              hand_.tap(KEY_B);
              hand_.tap(KEY_ENTER);
            }),
            allowed);
  window_.settle();
  EXPECT_EQ(window_.seen().text, "a");
  EXPECT_TRUE(surfaces().empty());
  EXPECT_TRUE(own_.shown().isCertain);
  // The window has its keyboard back.
  EXPECT_TRUE(window_.waitFor([](const auto& seen) { return seen.hasFocus; }));
}

TEST_F(WlAlertStageTest, IsListedWithoutPixelsWhereItIs) {
  ask([this] {
    ASSERT_EQ(surfaces().size(), 1U);
    const auto surface = surfaces().front();
    EXPECT_EQ(surface.pixels, nullptr);
    EXPECT_NEAR(surface.area.x + surface.area.width / 2.0, 960, 1);
    EXPECT_NEAR(surface.area.y + surface.area.height / 2.0, 540, 1);
    EXPECT_GT(surface.area.width, 380);
    alerts_->abortModal();
  });
}

TEST_F(WlAlertStageTest, AnswersNoByEscape) {
  EXPECT_EQ(ask([this] {
              pass(settled);
              hand_.tap(KEY_ESC);
            }),
            refused);
}

TEST_F(WlAlertStageTest, GoesFromButtonToButtonByTab) {
  EXPECT_EQ(ask([this] {
              pass(settled);
              hand_.tap(KEY_TAB);
              EXPECT_TRUE(waitUntil([] { return hasFocus("Don't Allow"); }));
              hand_.keyDown(KEY_LEFTSHIFT);
              hand_.tap(KEY_TAB);
              hand_.keyUp(KEY_LEFTSHIFT);
              EXPECT_TRUE(waitUntil([] { return hasFocus("Allow"); }));
              hand_.tap(KEY_RIGHT);
              hand_.tap(KEY_LEFT);
              hand_.tap(KEY_TAB);
              hand_.tap(KEY_SPACE);
            }),
            refused);
}

TEST_F(WlAlertStageTest, DoesNotTakeAKeyThatWasHeldFromBefore) {
  hand_.keyDown(KEY_ENTER);
  EXPECT_EQ(ask([this] {
              pass(settled);
              hand_.keyUp(KEY_ENTER);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, DoesNotTakeAKeyOfTheFirstHalfSecond) {
  EXPECT_EQ(ask([this] {
              pass(Milliseconds(200));
              hand_.tap(KEY_ENTER);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, JudgesAKeyByWhenItWasPressedHoweverLateItIsRead) {
  EXPECT_EQ(ask([this] {
              pass(Milliseconds(200));
              hand_.tap(KEY_ENTER);
              // Nothing is read meanwhile.
              std::this_thread::sleep_for(settled);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, TakesAClickOnEitherButton) {
  for (const auto& [title, answer] :
       {std::pair{"Allow", allowed}, std::pair{"Don't Allow", refused}}) {
    EXPECT_EQ(ask([this, title = title] {
                hand_.moveTo(placeOf(title));
                pass(settled);
                hand_.click(BTN_LEFT);
              }),
              answer);
  }
}

TEST_F(WlAlertStageTest, TakesAClickAfterAMoveThatWasMadeAtOnce) {
  EXPECT_EQ(ask([this] {
              pass(settled);
              hand_.moveTo(placeOf("Allow"));
              hand_.click(BTN_LEFT);
            }),
            allowed);
}

TEST_F(WlAlertStageTest, DoesNotTakeAClickOfTheFirstHalfSecond) {
  EXPECT_EQ(ask([this] {
              hand_.moveTo(placeOf("Allow"));
              pass(Milliseconds(200));
              hand_.click(BTN_LEFT);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, DoesNotTakeAClickThatBeganInTheFirstHalfSecond) {
  EXPECT_EQ(ask([this] {
              hand_.moveTo(placeOf("Allow"));
              pass(Milliseconds(200));
              hand_.press(BTN_LEFT);
              pass(settled);
              hand_.release(BTN_LEFT);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, DoesNotTakeAClickThatBeganBeforeIt) {
  hand_.moveTo({960, 600});
  hand_.press(BTN_LEFT);
  EXPECT_EQ(ask([this] {
              hand_.moveTo(placeOf("Allow"));
              pass(settled);
              hand_.release(BTN_LEFT);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, DoesNotTakeAClickOfAnotherButton) {
  EXPECT_EQ(ask([this] {
              hand_.moveTo(placeOf("Allow"));
              pass(settled);
              hand_.click(BTN_RIGHT);
              hand_.click(BTN_MIDDLE);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

TEST_F(WlAlertStageTest, IsTakenAwayByTheTimeOut) {
  EXPECT_EQ(ask([this] { alerts_->abortModal(); }), ModalResponse::abort);
  EXPECT_TRUE(surfaces().empty());
  EXPECT_TRUE(own_.shown().isCertain);
}

TEST_F(WlAlertStageTest, IsANoWhenTheCompositorGoesAway) {
  EXPECT_EQ(ask([this] { sway_.kill(); }), refused);
  EXPECT_TRUE(surfaces().empty());
}

TEST_F(WlAlertStageTest, IsANoWhereThereIsNoCompositorAnyMore) {
  sway_.kill();
  EXPECT_EQ(ask([] { ADD_FAILURE() << "nobody sees it"; }), refused);
}

TEST_F(WlAlertStageTest, EndsWithItsTimeOutUnderACompositorThatHangs) {
  EXPECT_EQ(ask([this] {
              ::kill(sway_.pid(), SIGSTOP);
              alerts_->abortModal();
            }),
            ModalResponse::abort);
  ::kill(sway_.pid(), SIGCONT);
}

TEST_F(WlAlertStageTest, AsksAnewWhenTheScaleChangesUnderIt) {
  const auto answerTheNewOne = [this] {
    scale_ = 2;
    hand_.tap(KEY_ENTER);
    pass(Milliseconds(100));
    EXPECT_TRUE(isAsked()) << "it has half a second of its own";
    pass(settled);
    hand_.moveTo(placeOf("Allow"), {960, 540});
    hand_.click(BTN_LEFT);
  };
  EXPECT_EQ(ask([&] {
              const auto before = surfaces().front().area;
              pass(settled);
              once(
                  [this, before] {
                    const auto now = surfaces();
                    return !now.empty() && now.front().area.width == 2 * before.width;
                  },
                  answerTheNewOne);
              sway_.command("output HEADLESS-1 scale 2");
            }),
            allowed);
}

TEST_F(WlAlertStageTest, BeginsAnewWhenTheFocusComesBack) {
  // What has the keyboard to itself as well, as a lock screen does.
  overlay::LayerShell shell;
  beneath::OwnSurfaces others;
  overlay::LayerSurface lock(shell, others, *shell.outputs().main(), {0, 0, 100, 100},
                             overlay::LayerSurface::Kind::question);
  ASSERT_TRUE(shell.settle());
  QImage image(100, 100, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::green);
  EXPECT_EQ(ask([&] {
              pass(settled);
              lock.show(image);
              shell.settle();
              hand_.tap(KEY_ENTER);
              pass(Milliseconds(200));
              EXPECT_TRUE(isAsked()) << "it was meant for the other";
              hand_.moveTo(placeOf("Allow"));
              lock.leave();
              shell.settle();
              pass(Milliseconds(200));
              hand_.tap(KEY_ENTER);
              hand_.click(BTN_LEFT);
              expectUnanswered();
            }),
            ModalResponse::abort);
}

}  // namespace
}  // namespace vesk::wayland::alert::VESK_FILE

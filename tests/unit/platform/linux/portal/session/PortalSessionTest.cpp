#include "platform/linux/portal/session/PortalSession.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <csignal>

#include "platform/linux/portal/session/Offer.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

class PortalSessionTest : public ::testing::Test, protected AskedDesktop {};

TEST_F(PortalSessionTest, GetsTheScreenAndTheInputThatThePersonGives) {
  ask();
  ASSERT_TRUE(allow());
  const auto& granted = grants.front();
  EXPECT_TRUE(granted.remote);
  EXPECT_NE(granted.node, 0U);
  EXPECT_EQ(granted.area, (Rect{{0, 0}, 1920, 1080}));
  EXPECT_TRUE(granted.mayControl);
  EXPECT_TRUE(strokes->isOpen());
  EXPECT_TRUE(isAskedNoMore());
  session.reset();
  EXPECT_FALSE(strokes->isOpen());
  EXPECT_TRUE(ends.empty()) << "it was wanted";
}

TEST_F(PortalSessionTest, GetsTheScreenAloneWhereNoMoreIsGiven) {
  ask();
  ASSERT_TRUE(allow(/*withInput=*/false));
  EXPECT_FALSE(grants.front().mayControl);
  EXPECT_FALSE(strokes->isOpen());
}

TEST_F(PortalSessionTest, TellsOfARefusal) {
  ask();
  ASSERT_TRUE(isAsked());
  hand.click({748, 413});
  EXPECT_EQ(end(), sessionError::refused);
  EXPECT_TRUE(grants.empty());
}

TEST_F(PortalSessionTest, TakesBackAQuestionThatNobodyAnswers) {
  ask({.answerWithin = std::chrono::seconds(2)});
  ASSERT_TRUE(isAsked());
  EXPECT_EQ(end(), sessionError::unanswered);
  EXPECT_TRUE(isAskedNoMore());
}

TEST_F(PortalSessionTest, TakesBackAQuestionWhereItIsEnded) {
  ask();
  ASSERT_TRUE(isAsked());
  session->end();
  EXPECT_TRUE(isAskedNoMore());
  session.reset();
  EXPECT_TRUE(ends.empty());
  EXPECT_TRUE(grants.empty());
}

TEST_F(PortalSessionTest, CanBeHadAgain) {
  ask();
  ASSERT_TRUE(allow());
  ASSERT_TRUE(isAskedNoMore());
  session.reset();
  grants.clear();
  ask();
  EXPECT_TRUE(allow());
}

TEST_F(PortalSessionTest, TellsOnceThatTheDesktopHasEndedIt) {
  ask();
  ASSERT_TRUE(allow());
  // Without which the compositor ends what it shares, as it does where the person says so.
  desktop.killPipeWire();
  EXPECT_EQ(end(), sessionError::ended);
  EXPECT_FALSE(strokes->isOpen());
  session.reset();
  EXPECT_EQ(ends.size(), 1U);
}

TEST_F(PortalSessionTest, BelievesThePortalAlone) {
  ask();
  ASSERT_TRUE(isAsked());
  const auto names = desktop.bus().interface()->registeredServiceNames().value();
  const QString portal = "/org/freedesktop/portal/desktop";
  for (const auto& name : names) {
    if (!name.startsWith(':')) continue;
    const QString whose = name.mid(1).replace('.', '_');
    for (int i = 1; i < 100; ++i) {
      auto answer =
          QDBusMessage::createSignal(QString("%1/request/%2/vesk_%3").arg(portal, whose).arg(i),
                                     "org.freedesktop.portal.Request", "Response");
      answer.setArguments({2U, QVariantMap()});
      desktop.bus().send(answer);
    }
    desktop.bus().send(QDBusMessage::createSignal(QString("%1/session/%2/vesk").arg(portal, whose),
                                                  "org.freedesktop.portal.Session", "Closed"));
  }
  EXPECT_TRUE(allow());
  EXPECT_TRUE(ends.empty());
}

TEST_F(PortalSessionTest, TellsOnceThatThePortalHasEnded) {
  ask();
  ASSERT_TRUE(allow());
  desktop.killPortal();
  EXPECT_EQ(end(), sessionError::portalGone);
  session.reset();
  EXPECT_EQ(ends.size(), 1U);
}

TEST_F(PortalSessionTest, TellsOnceThatTheBusHasEnded) {
  ask();
  ASSERT_TRUE(allow());
  desktop.killBus();
  EXPECT_EQ(end(), sessionError::busGone);
  session.reset();
  EXPECT_EQ(ends.size(), 1U);
}

TEST_F(PortalSessionTest, IsNotThereWithoutAPortal) {
  desktop.killPortal();
  ask();
  EXPECT_EQ(end(), sessionError::noPortal);
  EXPECT_EQ(askForOffer(), std::nullopt);
}

TEST_F(PortalSessionTest, EndsInTimeThoughThePortalHasStopped) {
  ask();
  ASSERT_TRUE(allow());
  ::kill(desktop.portalPid(), SIGSTOP);
  const auto begin = clock.hostTime();
  session.reset();
  const auto taken = clock.hostTime() - begin;
  ::kill(desktop.portalPid(), SIGCONT);
  EXPECT_LT(taken, std::chrono::seconds(1));
  EXPECT_TRUE(ends.empty());
}

TEST_F(PortalSessionTest, EndsInTimeThoughTheBusHasStopped) {
  ask();
  ASSERT_TRUE(allow());
  ::kill(desktop.busPid(), SIGSTOP);
  const auto begin = clock.hostTime();
  session.reset();
  EXPECT_EQ(askForOffer(std::chrono::seconds(1)), std::nullopt);
  startSession();
  EXPECT_EQ(end(), sessionError::busGone);
  session.reset();
  const auto taken = clock.hostTime() - begin;
  ::kill(desktop.busPid(), SIGCONT);
  EXPECT_LT(taken, std::chrono::seconds(5));
}

TEST_F(PortalSessionTest, LeavesNoQuestionBehindWhereThePortalEnds) {
  ask();
  ASSERT_TRUE(isAsked());
  desktop.killPortal();
  EXPECT_EQ(end(), sessionError::portalGone);
  EXPECT_TRUE(isAskedNoMore());
}

TEST_F(PortalSessionTest, AsksForTheOfferWithABound) {
  const auto offer = askForOffer();
  ASSERT_TRUE(offer);
  EXPECT_TRUE(offer->servesDesktop());
  EXPECT_EQ(offer->devices & Offer::keyboardAndPointer, Offer::keyboardAndPointer);
  EXPECT_GE(offer->screenCast, 4U);
  ::kill(desktop.portalPid(), SIGSTOP);
  const auto begin = clock.hostTime();
  EXPECT_EQ(askForOffer(std::chrono::milliseconds(500)), std::nullopt);
  const auto taken = clock.hostTime() - begin;
  ::kill(desktop.portalPid(), SIGCONT);
  EXPECT_LT(taken, std::chrono::seconds(5));
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE

#include <gtest/gtest.h>

#include "platform/linux/portal/session/Offer.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "unit/platform/linux/kwin/GivenDesktop.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

class SessionOnKWinTest : public ::testing::Test, protected GivenDesktop {};

TEST_F(SessionOnKWinTest, GetsTheScreenAndTheInputWithoutAQuestion) {
  const auto offer = askForOffer();
  ASSERT_TRUE(offer);
  EXPECT_TRUE(offer->servesDesktop());
  ASSERT_TRUE(begin());
  const auto& granted = grants.front();
  EXPECT_TRUE(granted.remote);
  EXPECT_NE(granted.node, 0U);
  EXPECT_EQ(granted.area, (Rect{{0, 0}, 1280, 800}));
  EXPECT_TRUE(granted.mayControl);
  session.reset();
  EXPECT_TRUE(ends.empty()) << "it was wanted";
  grants.clear();
  EXPECT_TRUE(begin()) << "another one";
}

TEST_F(SessionOnKWinTest, TellsOnceThatThePortalHasEnded) {
  ASSERT_TRUE(begin());
  desktop.killPortal();
  EXPECT_EQ(end(), sessionError::portalGone);
  session.reset();
  EXPECT_EQ(ends.size(), 1U);
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE

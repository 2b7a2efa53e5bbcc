#include "platform/linux/x11/screen/PointerWatch.h"

#include <gtest/gtest.h>

#include <xcb/xinput.h>

#include <chrono>
#include <optional>

#include "support/Patience.h"
#include "support/XMouse.h"
#include "support/XPainter.h"
#include "support/XResources.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::DisplayVariable;
using testing::XMouse;
using testing::XServer;

class PointerWatchTest : public ::testing::Test {
 protected:
  explicit PointerWatchTest(bool speaksOldVersion = false) {
    auto* const c = connection.get();
    // What a program has said first holds for all that it asks.
    if (speaksOldVersion) {
      const server::ReplyPtr<xcb_input_xi_query_version_reply_t> version(
          xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 0), nullptr));
    }
    watch.emplace(connection);
    mouse.move(10, 10);
  }

  void TearDown() override {
    look();
    handleEvents();
    EXPECT_EQ(errors, 0);
  }

  void look() {
    auto* const c = connection.get();
    const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, connection.root()), nullptr));
    ASSERT_NE(pointer, nullptr);
    watch->see(pointer->root_x, pointer->root_y, now);
  }

  void comeToRest() {
    look();
    now += PointerWatch::beforeItRests;
    look();
    look();
    ASSERT_FALSE(isToLook());
  }

  bool isToLook() const { return watch->isToLook(now); }

  /// How many events the server has told of.
  int handleEvents() {
    int events = 0;
    while (
        const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
      if (event->response_type == 0) ++errors;
      ++events;
      watch->handle(*event, now);
    }
    return events;
  }

  bool isWoken() {
    return testing::waitUntil([&] {
      handleEvents();
      return isToLook();
    });
  }

  XServer server{"320x200x24"};
  DisplayVariable variable{server.display()};
  server::Connection connection;
  XMouse mouse;
  std::optional<PointerWatch> watch;
  PointerWatch::Time now{1h};
  int errors = 0;
};

TEST_F(PointerWatchTest, HasItLookedAtUntilItHasStayedForAMoment) {
  EXPECT_TRUE(isToLook());
  look();
  EXPECT_TRUE(isToLook());
  now += 499ms;
  for (int i = 0; i < 3; ++i) look();
  EXPECT_TRUE(isToLook());
  now += 1ms;
  look();
  look();
  EXPECT_FALSE(isToLook());
}

TEST_F(PointerWatchTest, HasItLookedAtNowAndThenWhileItRests) {
  comeToRest();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(watch->nextLook(), now + 250ms);
    now += 249ms;
    EXPECT_FALSE(isToLook());
    now += 1ms;
    EXPECT_TRUE(isToLook());
    look();
    EXPECT_FALSE(isToLook());
  }
}

TEST_F(PointerWatchTest, MissesNoMotionBeforeTheServerKnowsThatItIsToTell) {
  look();
  now += 500ms;
  look();
  EXPECT_TRUE(isToLook());
  mouse.move(20, 10);
  look();
  EXPECT_TRUE(isToLook());
  now += 499ms;
  for (int i = 0; i < 3; ++i) look();
  EXPECT_TRUE(isToLook()) << "it begins to rest anew";
}

TEST_F(PointerWatchTest, WakesUpWithTheFirstMotion) {
  for (int x = 20; x < 50; x += 10) {
    comeToRest();
    mouse.move(x, 10);
    EXPECT_TRUE(isWoken()) << x;
    now += 499ms;
    look();
    EXPECT_TRUE(isToLook()) << x;
  }
}

TEST_F(PointerWatchTest, WakesUpWhoeverHasGrabbedThePointer) {
  comeToRest();
  XMouse other;
  other.grab();
  mouse.move(20, 10);
  EXPECT_TRUE(isWoken());
}

TEST_F(PointerWatchTest, RestsOnWhateverElseTheServerTells) {
  comeToRest();
  const auto opcode = xcb_get_extension_data(connection.get(), &xcb_input_id)->major_opcode;
  const auto tell = [&](std::uint8_t type, std::uint8_t extension, std::uint16_t kind) {
    const xcb_ge_generic_event_t told{type, extension, 0, 0, kind, {}, 0};
    watch->handle(reinterpret_cast<const xcb_generic_event_t&>(told), now);
  };
  tell(XCB_GE_GENERIC, opcode, XCB_INPUT_RAW_BUTTON_PRESS);
  tell(XCB_GE_GENERIC, opcode + 1, XCB_INPUT_RAW_MOTION);
  tell(XCB_KEY_PRESS, opcode, XCB_INPUT_RAW_MOTION);
  EXPECT_FALSE(isToLook());
  tell(XCB_GE_GENERIC, opcode, XCB_INPUT_RAW_MOTION);
  EXPECT_TRUE(isToLook());
}

TEST_F(PointerWatchTest, IsToldOfTheFirstMotionAlone) {
  comeToRest();
  mouse.move(20, 10);
  ASSERT_TRUE(isWoken());
  look();
  handleEvents();
  for (int x = 30; x < 80; ++x) mouse.move(x, 10);
  look();
  EXPECT_EQ(handleEvents(), 0);
}

TEST_F(PointerWatchTest, LeavesNoMoreInTheServerHoweverOftenItRests) {
  comeToRest();
  const auto once = testing::countXResources();
  for (int i = 0; i < 20; ++i) {
    watch->wake(now);
    comeToRest();
  }
  EXPECT_EQ(testing::countXResources(), once);
}

TEST_F(PointerWatchTest, SeesWhatAProgramDoesToItAtTheNextLook) {
  comeToRest();
  testing::XPainter program;
  program.movePointer(200, 100);
  now += 250ms;
  ASSERT_TRUE(isToLook());
  EXPECT_TRUE(testing::waitUntil([&] {
    look();
    return isToLook();
  }));
}

TEST_F(PointerWatchTest, HasItLookedAtForAsLongAsItIsWoken) {
  comeToRest();
  for (int i = 0; i < 3; ++i) {
    watch->wake(now);
    EXPECT_TRUE(isToLook());
    now += 499ms;
    look();
    look();
    EXPECT_TRUE(isToLook());
  }
  now += 1ms;
  look();
  look();
  EXPECT_FALSE(isToLook());
}

class OldVersionTest : public PointerWatchTest {
 protected:
  OldVersionTest() : PointerWatchTest(/*speaksOldVersion=*/true) {}
};

TEST_F(OldVersionTest, HasItLookedAtForEver) {
  for (int i = 0; i < 5; ++i) {
    look();
    EXPECT_TRUE(isToLook());
    now += 1h;
  }
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE

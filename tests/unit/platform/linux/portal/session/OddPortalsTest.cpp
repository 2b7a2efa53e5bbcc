#include <gtest/gtest.h>

#include <unistd.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusUnixFileDescriptor>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <future>

#include "e2e/MessageBus.h"
#include "platform/linux/portal/session/Bus.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "support/Patience.h"
#include "support/TemporaryFolder.h"
#include "unit/platform/linux/portal/session/HeardSession.h"
#include "unit/platform/linux/portal/session/PretendedPortal.h"

namespace vesk::portal::session::VESK_FILE {

/// A stream, and a place or a size, as a portal tells of them.
struct ToldOf {
  std::uint32_t node = 0;
  QVariantMap properties;
};
struct TwoNumbers {
  int first = 0;
  int second = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ToldOf& told) {
  argument.beginStructure();
  argument << told.node << told.properties;
  argument.endStructure();
  return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, ToldOf& /*told*/) {
  return argument;
}
QDBusArgument& operator<<(QDBusArgument& argument, const TwoNumbers& pair) {
  argument.beginStructure();
  argument << pair.first << pair.second;
  argument.endStructure();
  return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, TwoNumbers& /*pair*/) {
  return argument;
}

namespace {

QVariant streams(const QList<ToldOf>& told) { return QVariant::fromValue(told); }

QVariant pair(int first, int second) { return QVariant::fromValue(TwoNumbers{first, second}); }

/// A bus on which nobody but a portal is that does what none should.
class OddDesktop {
 public:
  OddDesktop() {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus_.address().c_str(), 1);
    portal.emplace(bus_.address());
    portal->deal("OpenPipeWireRemote", [this](const auto& question) {
      portal->reply(question, {QVariant::fromValue(QDBusUnixFileDescriptor(STDIN_FILENO))});
    });
    qDBusRegisterMetaType<ToldOf>();
    qDBusRegisterMetaType<QList<ToldOf>>();
    qDBusRegisterMetaType<TwoNumbers>();
    qDBusRegisterMetaType<QList<TwoNumbers>>();
  }

 protected:
  testing::TemporaryFolder folder_;

 private:
  std::array<char, 6> name_{"tests"};
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_.data()};
  testing::MessageBus bus_{folder_.path()};

 public:
  std::optional<PretendedPortal> portal;
};

class OddPortalsTest : public ::testing::Test, public OddDesktop, public HeardSession {
 protected:
  void begin() {
    ends.clear();
    startSession(
        {.answerWithin = std::chrono::seconds(5), .token = RestoreToken(folder_.path() / "token")});
  }

  /// Where the portal was told to close something, once there is nothing left of the session.
  std::vector<QString> closedAtTheEnd() {
    session.reset();
    return portal->callsOf("Close");
  }

  /// The person lets the viewer have everything.
  void beginWithInput() {
    portal->deal("Start", [this](const auto& question) {
      portal->answer(question, 0,
                     {{"streams", streams({{5, {{"size", pair(7, 7)}}}})}, {"devices", 3U}});
    });
    begin();
  }
};

TEST_F(OddPortalsTest, MakesNothingOfAGrantWithoutAStream) {
  const std::vector<QVariantMap> all{{},
                                     {{"streams", "none"}},
                                     {{"streams", streams({})}},
                                     {{"streams", 5U}},
                                     {{"streams", QStringList{"a"}}},
                                     {{"streams", pair(1, 2)}},
                                     {{"streams", QVariant::fromValue(QList<TwoNumbers>{{1, 2}})}}};
  for (const auto& results : all) {
    portal->deal("Start",
                 [&, results](const auto& question) { portal->answer(question, 0, results); });
    begin();
    EXPECT_EQ(end(), sessionError::failed);
    EXPECT_TRUE(grants.empty());
  }
}

TEST_F(OddPortalsTest, TakesTheFirstOfManyStreamsAndItsAreaWhereThatMakesSense) {
  QList<ToldOf> many(2000, ToldOf{9, {{"size", pair(7, 7)}}});
  many[0] = {4294967295U, {{"size", pair(0, -3)}, {"position", "x"}}};
  portal->deal("Start", [&, many](const auto& question) {
    portal->answer(question, 0, {{"streams", streams(many)}, {"devices", 3U}});
    portal->answer(question, 2, {});
  });
  begin();
  ASSERT_TRUE(waitFor([&] { return !grants.empty(); }));
  const std::lock_guard lock(mutex);
  EXPECT_EQ(grants.front().node, 4294967295U);
  EXPECT_EQ(grants.front().area, std::nullopt);
  EXPECT_TRUE(ends.empty());
}

TEST_F(OddPortalsTest, HaveNoAreaWithoutAHeight) {
  portal->deal("Start", [&](const auto& question) {
    portal->answer(question, 0, {{"streams", streams({{5, {{"size", pair(7, 0)}}}})}});
  });
  begin();
  ASSERT_TRUE(waitFor([&] { return !grants.empty(); }));
  const std::lock_guard lock(mutex);
  EXPECT_EQ(grants.front().area, std::nullopt);
  EXPECT_FALSE(strokes->isOpen()) << "no devices were given";
}

class RememberingPortalTest : public OddPortalsTest {
 protected:
  /// What the portal is told of the devices when the person allows a session, and is given then.
  QVariantMap toldWhenAllowed(const char* given) {
    QVariantMap told;
    portal->deal("SelectDevices", [&](const auto& question) {
      told = PretendedPortal::optionsOf(question);
      portal->answer(question, 0, {});
    });
    portal->deal("Start", [this, given](const auto& question) {
      QVariantMap results{{"streams", streams({{5, {{"size", pair(7, 7)}}}})}};
      if (given != nullptr) results["restore_token"] = given;
      portal->answer(question, 0, results);
    });
    grants.clear();
    begin();
    EXPECT_TRUE(waitFor([&] { return !grants.empty(); }));
    session.reset();
    return told;
  }
};

TEST_F(RememberingPortalTest, IsToldOnceWhatItHasGiven) {
  portal->remoteDesktop["version"] = 2U;
  const auto first = toldWhenAllowed("one");
  EXPECT_EQ(first["persist_mode"], QVariant(2U)) << "until it is revoked";
  EXPECT_FALSE(first.contains("restore_token"));
  const auto second = toldWhenAllowed("another");
  EXPECT_EQ(second["persist_mode"], QVariant(2U));
  EXPECT_EQ(second["restore_token"], QVariant("one"));
  EXPECT_EQ(toldWhenAllowed(nullptr)["restore_token"], QVariant("another"));
  EXPECT_FALSE(toldWhenAllowed(nullptr).contains("restore_token"));
}

/// Which would take it for an option that it does not know.
TEST_F(RememberingPortalTest, IsToldNothingWhereItCannotRemember) {
  RestoreToken(folder_.path() / "token").write("one");
  const auto told = toldWhenAllowed(nullptr);
  EXPECT_FALSE(told.contains("restore_token"));
  EXPECT_FALSE(told.contains("persist_mode"));
}

TEST_F(OddPortalsTest, EndsWhereTheSessionIsNowhere) {
  for (const QVariant& handle : {QVariant(""), QVariant("no path"), QVariant(5), QVariant("//")}) {
    portal->deal("CreateSession", [&, handle](const auto& question) {
      portal->answer(question, 0, {{"session_handle", handle}});
    });
    portal->deal("SelectDevices", [&](const auto& question) {
      const bool named = question.arguments().value(0).template canConvert<QDBusObjectPath>();
      portal->answer(question, named ? 0 : 2, {});
    });
    begin();
    EXPECT_EQ(end(), sessionError::failed);
  }
}

TEST_F(OddPortalsTest, TakesNoResponseForAnotherOne) {
  for (const QVariantList& odd :
       {QVariantList{}, QVariantList{"x"}, QVariantList{99U, QVariantMap()}, QVariantList{0U, "x"},
        QVariantList{-1, 5}}) {
    // It may still be dealt with when the test goes on.
    portal->deal("Start", [&, odd](const auto& question) {
      portal->tell(PretendedPortal::requestOf(question), name::request, "Response", odd);
      portal->reply(question, {QVariant::fromValue(QDBusObjectPath("/odd"))});
      portal->tell(PretendedPortal::requestOf(question), name::request, "Response", odd);
    });
    begin();
    EXPECT_EQ(end(), sessionError::failed);
  }
}

TEST_F(OddPortalsTest, MayEndTheSessionBeforeTheyAnswer) {
  for (const char* method : {"CreateSession", "SelectDevices", "SelectSources", "Start"}) {
    portal->deal(method, [&](const auto& question) {
      portal->tell(PretendedPortal::sessionOf(question), name::session, "Closed", {});
      portal->tell(PretendedPortal::sessionOf(question), name::session, "Closed", {});
      portal->answer(question, 0, {{"session_handle", PretendedPortal::sessionOf(question)}});
    });
    begin();
    EXPECT_EQ(end(), sessionError::ended) << method;
  }
}

TEST_F(OddPortalsTest, AreToldThatAQuestionIsNoLongerOneAndThatTheSessionIsOver) {
  std::promise<QDBusMessage> asked;
  portal->deal("Start", [&](const auto& question) {
    portal->reply(question, {QVariant::fromValue(QDBusObjectPath("/unused"))});
    asked.set_value(question);
  });
  startSession({.answerWithin = std::chrono::milliseconds(100)});
  EXPECT_EQ(end(), sessionError::unanswered);
  const auto start = asked.get_future().get();
  EXPECT_EQ(closedAtTheEnd(),
            (std::vector{PretendedPortal::requestOf(start), PretendedPortal::sessionOf(start)}));
}

TEST_F(OddPortalsTest, AreNotToldOfTheEndOfASessionThatTheyHaveEnded) {
  std::promise<QString> ended;
  portal->deal("Start", [&](const auto& question) {
    portal->tell(PretendedPortal::sessionOf(question), name::session, "Closed", {});
    ended.set_value(PretendedPortal::sessionOf(question));
  });
  begin();
  EXPECT_EQ(end(), sessionError::ended);
  EXPECT_EQ(std::ranges::count(closedAtTheEnd(), ended.get_future().get()), 0);
}

TEST_F(OddPortalsTest, GetNoStrokeBeforeTheyHaveAnsweredTheOneBefore) {
  std::promise<QDBusMessage> first;
  portal->deal("NotifyKeyboardKeycode", [&](const auto& question) {
    first.set_value(question);
    portal->deal("NotifyKeyboardKeycode", nullptr);
  });
  beginWithInput();
  ASSERT_TRUE(testing::waitUntil([&] { return strokes->isOpen(); }));
  strokes->push({.kind = Stroke::Kind::key, .code = 30, .isDown = true});
  strokes->push({.kind = Stroke::Kind::key, .code = 30, .isDown = false});
  // As long as a portal may be held up: the answer is what is waited for, not a time.
  EXPECT_FALSE(strokes->settle(std::chrono::seconds(3)));
  EXPECT_EQ(portal->count("NotifyKeyboardKeycode"), 1U);
  portal->reply(first.get_future().get());
  EXPECT_TRUE(strokes->settle(std::chrono::milliseconds(testing::patience())));
  EXPECT_EQ(portal->count("NotifyKeyboardKeycode"), 2U);
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

class HeldTest : public ::testing::Test {
 protected:
  /// Runs the messages in a program of their own and ends it with the signal while it holds.
  void runAndEnd(int signal, std::vector<std::string> messages) {
    const auto ready = folder_.path() / "ready";
    std::filesystem::remove(ready);
    messages.insert(messages.begin(), {VESK_HOLDING_HANDS, ready.string()});
    ChildProcess program(std::move(messages));
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(ready); }));
    program.stop(signal);
  }

  bool recordExists() const {
    return !session_.text(session_.connection().root(), "_VESK_REMOTE_HELD").empty();
  }

  Session session_;
  TemporaryFolder folder_;
};

TEST_F(HeldTest, EverythingIsLetGoByRelease) {
  Hands hands;
  for (const int code : {65, 66, 13, 160, 162, 165, 91, 20}) hands.key(code, true, 15);
  for (const int button : {0, 1, 2, 7}) hands.button(button, true, 0.5, 0.5);
  EXPECT_FALSE(session_.keysDown().empty());
  EXPECT_NE(session_.pointerState(), 0);
  EXPECT_TRUE(recordExists());
  hands.releaseAll();
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.pointerState(), 0);
  EXPECT_EQ(session_.lockedModifiers(), 0);
  EXPECT_FALSE(recordExists());
}

TEST_F(HeldTest, EverythingIsLetGoAtTheEndOfThePoster) {
  for (const bool withText : {false, true}) {
    Hands hands;
    for (const int code : {65, 160, 20}) hands.key(code, true, 1);
    hands.button(0, true, 0.5, 0.5);
    if (withText) hands.text("日");
  }
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.pointerState(), 0);
  EXPECT_EQ(session_.lockedModifiers(), 0);
  EXPECT_FALSE(recordExists());
}

TEST_F(HeldTest, TheNextStartLetsGoOfWhatAKilledPredecessorHeld) {
  for (const int signal : {SIGKILL, SIGTERM}) {
    runAndEnd(signal, {R"({"t":"k","c":65,"e":"down","m":3})", R"({"t":"k","c":20,"e":"down"})",
                       R"({"t":"k","c":161,"e":"down","m":3})",
                       R"({"t":"m","e":"down","b":0,"x":0.5,"y":0.5})",
                       R"({"t":"m","e":"down","b":2,"x":0.5,"y":0.5})"});
    ASSERT_FALSE(session_.keysDown().empty()) << signal;
    ASSERT_NE(session_.pointerState(), 0) << signal;
    ASSERT_TRUE(recordExists());
    const Hands next;
    EXPECT_TRUE(session_.keysDown().empty()) << signal;
    EXPECT_EQ(session_.pointerState(), 0) << signal;
    EXPECT_EQ(session_.lockedModifiers(), 0) << signal;
    EXPECT_FALSE(recordExists());
  }
}

TEST_F(HeldTest, TheNextStartLetsGoOfNothingElse) {
  runAndEnd(SIGKILL, {R"({"t":"k","c":65,"e":"down"})"});
  ASSERT_EQ(run({"xdotool", "keydown", "b"}), 0);
  const Hands next;
  EXPECT_EQ(session_.keysDown().size(), 1U);
}

TEST_F(HeldTest, TheKeyMapIsTheOldOneSoonAfterText) {
  const std::string before = session_.keyMap();
  Hands hands;
  hands.text("日本語 😀 Жыд");
  EXPECT_NE(session_.keyMap(), before);
  EXPECT_TRUE(eventually([&] { return session_.keyMap() == before; }));
  EXPECT_TRUE(eventually([&] { return !recordExists(); }));
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(HeldTest, TheKeyMapIsTheOldOneAfterAPredecessorDiedAmidText) {
  const std::string before = session_.keyMap();
  runAndEnd(SIGKILL, {R"({"t":"u","s":"日本語 😀 Жыд"})"});
  ASSERT_NE(session_.keyMap(), before);
  const Hands next;
  EXPECT_EQ(session_.keyMap(), before);
}

TEST_F(HeldTest, APredecessorThatIsKilledAtAnyMomentLeavesNothingBehind) {
  const std::string before = session_.keyMap();
  std::string text;
  for (int i = 0; i < 200; ++i) text += "aBÄ日本語漢字Жжλ😀";
  for (int round = 0; round < 8; ++round) {
    ChildProcess program({VESK_HOLDING_HANDS, (folder_.path() / "ready").string(),
                          R"({"t":"k","c":162,"e":"down","m":2})",
                          R"({"t":"u","s":")" + text + "\"}", R"({"t":"k","c":65,"e":"down"})"});
    ASSERT_TRUE(eventually([&] { return recordExists(); }));
    // Killed wherever it happens to be by then.
    std::this_thread::sleep_for(std::chrono::milliseconds(3 * round));
    program.stop(SIGKILL);
    const Hands next;
    EXPECT_TRUE(session_.keysDown().empty()) << round;
    EXPECT_EQ(session_.lockedModifiers(), 0) << round;
    EXPECT_EQ(session_.keyMap(), before) << round;
    EXPECT_FALSE(recordExists()) << round;
  }
}

TEST_F(HeldTest, ANonsensicalRecordDoesNoHarm) {
  ASSERT_EQ(run({"xprop", "-root", "-f", "_VESK_REMOTE_HELD", "32c", "-set", "_VESK_REMOTE_HELD",
                 "0,1,4294967295,65536,131072,196609,131327"}),
            0);
  const Hands hands;
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(HeldTest, ALostServerIsBorneInSilence) {
  Hands hands;
  hands.key('A', true);
  session_.server().kill();
  hands.key('B', true, 15);
  hands.move(0.5, 0.5);
  hands.click(0, 0.5, 0.5);
  hands.text("日a");
  hands.releaseAll();
  EXPECT_FALSE(hands.poster.pointerLocation());
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

#include "agent/Script.h"

#include <gtest/gtest.h>

#include <fstream>

#include "fakes/RecordingScriptActions.h"
#include "support/TemporaryFolder.h"

namespace vesk::agent::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Calls = std::vector<std::string>;
using Result = Script::Result;

constexpr TimePoint start{100s};

class ScriptTest : public ::testing::Test {
 protected:
  void append(std::initializer_list<std::string_view> lines) {
    for (const auto line : lines) script_.append(std::get<Command>(parseCommand(line).value()));
  }

  vesk::testing::RecordingScriptActions actions_;
  Script script_{actions_};
};

TEST_F(ScriptTest, CarriesCommandsOutInOrder) {
  append({"keyframe", "stopreading", "startreading", "help", "disconnect"});
  EXPECT_FALSE(script_.isDone());
  EXPECT_EQ(script_.run(start), Result::goOn);
  EXPECT_TRUE(script_.isDone());
  EXPECT_EQ(actions_.calls,
            (Calls{"send", "stopReading", "startReading", "showHelp", "disconnect"}));
}

TEST_F(ScriptTest, HoldsWhatNeedsAProgramUntilOneConnects) {
  for (const auto* line : {"{}", "move 0 0", "click", "frame 1 @/dev/null", "stopreading"}) {
    vesk::testing::RecordingScriptActions actions;
    Script script(actions);
    actions.connected = false;
    script.append(std::get<Command>(parseCommand(line).value()));
    EXPECT_EQ(script.run(start), Result::goOn);
    EXPECT_FALSE(script.isDone()) << line;
    EXPECT_FALSE(script.due()) << line;
    EXPECT_TRUE(actions.calls.empty()) << line;
    actions.connected = true;
    script.run(start);
    EXPECT_TRUE(script.isDone()) << line;
    EXPECT_EQ(actions.calls.size(), 1U) << line;
  }
}

TEST_F(ScriptTest, PassesOverWhatOnlyEndsAConnectionWhenThereIsNone) {
  actions_.connected = false;
  append({"disconnect", "startreading", "help"});
  script_.run(start);
  EXPECT_EQ(actions_.calls, Calls{"showHelp"});
}

TEST_F(ScriptTest, ClicksWhereThePointerWasMovedTo) {
  append({"click", "move 0.25 0.75", "click 2"});
  script_.run(start);
  Bytes expected;
  for (const auto* text :
       {R"({"t":"m","e":"down","x":0.5,"y":0.5,"b":0})",
        R"({"t":"m","e":"up","x":0.5,"y":0.5,"b":0})", R"({"t":"m","e":"move","x":0.25,"y":0.75})",
        R"({"t":"m","e":"down","x":0.25,"y":0.75,"b":2})",
        R"({"t":"m","e":"up","x":0.25,"y":0.75,"b":2})"}) {
    const Bytes frame = frameBytes(FrameKind::input, bytesOf(text));
    expected.insert(expected.end(), frame.begin(), frame.end());
  }
  EXPECT_EQ(actions_.sent, expected);
}

TEST_F(ScriptTest, SendsAFileAsItIsWhenItsTurnComes) {
  const vesk::testing::TemporaryFolder folder;
  const std::string path = folder.path() / "payload";
  append({"frame 4 @" + path});
  std::ofstream(path) << "a\nb";
  script_.run(start);
  EXPECT_EQ(actions_.sent, frameOfKind(4, bytesOf("a\nb")));
}

TEST_F(ScriptTest, SendsAnEmptyFileAsAnEmptyFrame) {
  append({"frame 1 @/dev/null"});
  script_.run(start);
  EXPECT_EQ(actions_.sent, frameBytes(FrameKind::control, {}));
}

TEST_F(ScriptTest, ReportsAFileThatCannotBeReadAndGoesOn) {
  append({"frame 1 @/nowhere/file", "frame 1 @/", "keyframe"});
  script_.run(start);
  EXPECT_EQ(actions_.calls, (Calls{"error: cannot read '/nowhere/file': No such file or directory",
                                   "error: cannot read '/': Is a directory", "send"}));
}

TEST_F(ScriptTest, PausesForItsTime) {
  append({"pause 2", "keyframe"});
  script_.run(start);
  EXPECT_EQ(script_.due(), start + 2s);
  script_.run(start + 1999ms);
  EXPECT_TRUE(actions_.calls.empty());
  script_.run(start + 2s);
  EXPECT_EQ(actions_.calls, Calls{"send"});
  EXPECT_FALSE(script_.due());
}

TEST_F(ScriptTest, WaitsForAMessage) {
  append({"wait started", "keyframe"});
  script_.run(start);
  EXPECT_EQ(script_.due(), start + 10s);
  script_.received("state");
  script_.run(start + 1s);
  EXPECT_TRUE(actions_.calls.empty());
  script_.received("started");
  EXPECT_EQ(script_.run(start + 2s), Result::goOn);
  EXPECT_EQ(actions_.calls, Calls{"send"});
  EXPECT_FALSE(script_.due());
}

TEST_F(ScriptTest, CountsAnAnswerThatCameBeforeItsWait) {
  script_.received("state");
  script_.received("started");
  append({"wait state 0", "wait started 0"});
  EXPECT_EQ(script_.run(start), Result::goOn);
  EXPECT_TRUE(script_.isDone());
}

TEST_F(ScriptTest, EndsWhenAWaitTimesOut) {
  append({"wait started 0.5", "keyframe"});
  EXPECT_EQ(script_.run(start), Result::goOn);
  EXPECT_EQ(script_.run(start + 500ms), Result::waitTimedOut);
  EXPECT_EQ(actions_.calls, Calls{"error: no 'started' has come within 500 ms"});
}

TEST_F(ScriptTest, ForgetsTheMessagesOfAConnectionThatItEnds) {
  script_.received("hello");
  append({"disconnect", "wait hello 0"});
  EXPECT_EQ(script_.run(start), Result::waitTimedOut);
}

TEST_F(ScriptTest, ClosesOnceEverythingIsSent) {
  for (const auto* line : {"disconnect", "quit"}) {
    vesk::testing::RecordingScriptActions actions;
    Script script(actions);
    actions.sentAll = false;
    script.append(std::get<Command>(parseCommand(line).value()));
    EXPECT_EQ(script.run(start), Result::goOn);
    EXPECT_FALSE(script.isDone()) << line;
    actions.sentAll = true;
    script.run(start);
    EXPECT_TRUE(script.isDone()) << line;
  }
}

TEST_F(ScriptTest, ClosesOnAProgramThatDoesNotRead) {
  actions_.sentAll = false;
  append({"disconnect", "quit"});
  script_.run(start);
  EXPECT_EQ(script_.due(), start + 2s);
  script_.run(start + 2s);
  EXPECT_EQ(actions_.calls, Calls{"disconnect"});
  EXPECT_EQ(script_.run(start + 4s), Result::quit);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE

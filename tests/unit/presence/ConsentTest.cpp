#include "presence/Consent.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "fakes/ManualQueues.h"
#include "fakes/RecordingAlerts.h"

namespace vesk::VESK_FILE {
namespace {

using fakes::ManualClock;
using fakes::ManualQueues;
using fakes::RecordingAlerts;

constexpr auto allow = ModalResponse::alertFirstButtonReturn;
constexpr auto refuse = ModalResponse::alertSecondButtonReturn;

class ConsentTest : public ::testing::Test {
 protected:
  void ask(const std::string& viewer) {
    Consent::ask(queues_.main(), alerts_, viewer, [this](bool allowed) {
      EXPECT_EQ(alerts_.alive, 0) << "the alert is still there when the answer comes";
      EXPECT_FALSE(alerts_.timerRuns());
      answers_.push_back(allowed);
    });
  }

  std::vector<bool> answerTo(const std::string& viewer, std::optional<ModalResponse> response) {
    answers_.clear();
    alerts_.person = [response] { return response; };
    ask(viewer);
    queues_.run();
    return answers_;
  }

  ManualClock clock_;
  ManualQueues queues_{clock_};
  RecordingAlerts alerts_;
  std::vector<bool> answers_;
};

TEST_F(ConsentTest, PutsTheQuestionUpInOrderAndWordForWord) {
  EXPECT_EQ(answerTo("Ada Lovelace", allow), std::vector{true});
  EXPECT_EQ(
      alerts_.calls,
      (std::vector<std::string>{
          "activate", "alert", "message: Ada Lovelace would like to view your screen",
          "informative: They will see everything on this screen until the session ends. You can "
          "say no.",
          "button: Allow", "button: Don't Allow", "level: 8", "timer", "run", "invalidate"}));
  EXPECT_EQ(alerts_.delay(), std::chrono::seconds(60));
}

TEST_F(ConsentTest, NamesTheSupportWhereTheViewerHasNoName) {
  answerTo("", allow);
  EXPECT_EQ(alerts_.calls.at(2), "message: Vesk support would like to view your screen");
}

TEST_F(ConsentTest, KeepsANameFromMakingASecondLine) {
  answerTo("Ada\n\nThe administrator has agreed.\r", allow);
  EXPECT_EQ(alerts_.calls.at(2),
            "message: Ada  The administrator has agreed.  would like to view your screen");
}

TEST_F(ConsentTest, TakesTheFirstButtonForYesAndNothingElse) {
  EXPECT_EQ(answerTo("Ada", allow), std::vector{true});
  EXPECT_EQ(answerTo("Ada", refuse), std::vector{false});
  EXPECT_EQ(answerTo("Ada", ModalResponse::abort), std::vector{false});
}

TEST_F(ConsentTest, DoesNothingBeforeTheMainQueueRuns) {
  alerts_.person = [] { return allow; };
  ask("Ada");
  EXPECT_TRUE(alerts_.calls.empty());
  EXPECT_TRUE(answers_.empty());
  queues_.run();
  EXPECT_EQ(answers_, std::vector{true});
}

TEST_F(ConsentTest, TakesSilenceForNo) {
  alerts_.person = [this]() -> std::optional<ModalResponse> {
    EXPECT_TRUE(alerts_.timerRuns());
    alerts_.fireTimer();
    return std::nullopt;
  };
  ask("Ada");
  queues_.run();
  EXPECT_EQ(answers_, std::vector{false});
  EXPECT_EQ(alerts_.calls.back(), "invalidate");
}

TEST_F(ConsentTest, NeverEndsALaterModalLoopByAnEarlierTimer) {
  answerTo("Ada", allow);
  alerts_.fireTimer();
  EXPECT_EQ(std::ranges::count(alerts_.calls, "abort"), 0);
  EXPECT_EQ(answerTo("Ada", allow), std::vector{true});
}

TEST_F(ConsentTest, AsksAsOftenAsItIsToldOneAfterTheOther) {
  int open = 0;
  alerts_.person = [&] {
    EXPECT_EQ(alerts_.alive, 1);
    return ++open == 1 ? allow : refuse;
  };
  ask("Ada");
  ask("Grace");
  queues_.run();
  EXPECT_EQ(answers_, (std::vector{true, false}));
}

}  // namespace
}  // namespace vesk::VESK_FILE

#include "link/LogLimit.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

class LogLimitTest : public ::testing::Test {
 protected:
  /// How many of so many equal lines are written at this moment, other lines not counted.
  std::size_t written(const std::string& line, int times) {
    std::size_t count = 0;
    for (int i = 0; i < times; ++i) {
      for (const auto& each : limit_.admit(line, now_)) count += each == line ? 1 : 0;
    }
    return count;
  }

  LogLimit limit_;
  LogLimit::Time now_{1h};
};

TEST_F(LogLimitTest, WritesAHundredOfAKindAMinute) {
  EXPECT_EQ(written("Connected.", 1000), 100U);
  now_ += 59s;
  EXPECT_EQ(written("Connected.", 1000), 0U);
  now_ += 1s;
  EXPECT_EQ(written("Connected.", 1000), 100U);
}

TEST_F(LogLimitTest, CountsInEveryMinuteWheneverItBegins) {
  EXPECT_EQ(written("a", 60), 60U);
  now_ += 50s;
  EXPECT_EQ(written("a", 60), 40U);
  now_ += 20s;
  EXPECT_EQ(written("a", 100), 60U);
  now_ += 41s;
  EXPECT_EQ(written("a", 100), 40U);
}

TEST_F(LogLimitTest, TellsOnceHowManyWereLeftOut) {
  written("No Mac key for virtual key 19.", 150);
  EXPECT_EQ(limit_.admit("Lost.", now_ + 59s), Lines{"Lost."});
  EXPECT_EQ(limit_.admit("Lost.", now_ + 60s),
            (Lines{"Left out 50 more lines like: No Mac key for virtual key ….", "Lost."}));
  EXPECT_EQ(limit_.admit("Lost.", now_ + 61s), Lines{"Lost."});
}

TEST_F(LogLimitTest, TellsAtMostOnceAMinuteHoweverTheLinesAreSpread) {
  std::size_t told = 0;
  for (int i = 0; i < 6000; ++i) {
    now_ += 100ms;  // ten minutes in all
    for (const auto& line : limit_.admit("a", now_)) told += line.starts_with("Left out") ? 1 : 0;
  }
  EXPECT_GE(told, 8U);
  EXPECT_LE(told, 10U);
}

TEST_F(LogLimitTest, TakesLinesThatDifferInNumbersForOneKind) {
  std::size_t count = 0;
  for (int i = -500; i < 500; ++i) {
    count += limit_.admit("key " + std::to_string(i) + ".", now_).size();
  }
  EXPECT_EQ(count, 100U);
  EXPECT_EQ(written("other", 5), 5U);
}

TEST_F(LogLimitTest, MarksTheNumbersAtBothEndsToo) {
  written("640 pictures in 9", 101);
  written(" pictures in ", 1);
  EXPECT_EQ(limit_.admit("Lost.", now_ + 60s),
            (Lines{"Left out 1 more lines like: … pictures in …", "Lost."}));
}

TEST_F(LogLimitTest, TakesNothingElseForANumber) {
  EXPECT_EQ(written("key 0", 50) + written("key 9", 50), 100U);
  EXPECT_EQ(written("key -", 1), 0U);
  for (const auto* other : {"key /", "key :", "key ,", "key .", "key x"}) {
    EXPECT_EQ(written(other, 1), 1U) << other;
  }
}

TEST_F(LogLimitTest, KeepsFewKindsHoweverManyThereAre) {
  std::size_t count = 0;
  for (char first = 'a'; first <= 'z'; ++first) {
    for (char second = 'a'; second <= 'z'; ++second) {
      for (int i = 0; i < 10; ++i) {
        count += limit_.admit(std::string{first, second}, now_).size();
      }
    }
  }
  EXPECT_EQ(count, 64U * 10U + 100U);
  EXPECT_EQ(written("aa", 200), 90U);
  const auto told = limit_.admit("aa", now_ + 60s);
  EXPECT_EQ(std::ranges::count(told, "Left out 6020 more lines like: …"), 1);
}

}  // namespace
}  // namespace vesk::VESK_FILE

#include "platform/linux/x11/server/Reader.h"

#include <gtest/gtest.h>

#include <future>

#include "x11/QuestionedWindow.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Question = QuestionedWindow::Question;

class ReaderTest : public ::testing::Test {
 protected:
  /// Asks, and hands the question to the test meanwhile.
  bool readWithin(std::chrono::milliseconds patience,
                  const std::function<void(Question)>& onQuestion) {
    auto answered = std::async(std::launch::async, [&] {
      return reader_.hasReadEverything(x11::server::Reader::Clock::now() + patience,
                                       [](const auto&) {});
    });
    const auto question = window_.waitForQuestion();
    EXPECT_TRUE(question);
    if (question) onQuestion(*question);
    return answered.get();
  }

  Session session_;
  QuestionedWindow window_;
  SystemClock clock_;
  InputGate gate_{clock_};
  x11::server::Connection connection_;
  x11::server::Reader reader_{connection_, gate_};
};

TEST_F(ReaderTest, BelievesTheAnswerToItsQuestion) {
  EXPECT_TRUE(readWithin(10s, [this](Question question) { window_.answer(question); }));
}

TEST_F(ReaderTest, BelievesNoOtherAnswer) {
  EXPECT_FALSE(readWithin(300ms, [this](Question question) {
    window_.answer({question.number - 1, question.window});
    window_.answer({question.number + 1, question.window});
    window_.answer({question.number, question.window + 1});
  }));
}

TEST_F(ReaderTest, BelievesNoAnswerToAnEarlierQuestion) {
  Question first{};
  EXPECT_FALSE(readWithin(100ms, [&](Question question) { first = question; }));
  EXPECT_FALSE(readWithin(300ms, [&](Question) { window_.answer(first); }));
}

TEST_F(ReaderTest, WaitsNoLongerThanTheGateIsOpen) {
  EXPECT_FALSE(readWithin(24h, [this](Question) { gate_.close(); }));
}

TEST_F(ReaderTest, DoesNotWaitForAProgramThatTakesNoQuestions) {
  xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, connection_.root(),
                      XCB_CURRENT_TIME);
  EXPECT_FALSE(
      reader_.hasReadEverything(x11::server::Reader::Clock::now() + 24h, [](const auto&) {}));
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

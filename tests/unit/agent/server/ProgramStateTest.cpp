#include "agent/server/ProgramState.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace vesk::agent::VESK_FILE {
namespace {

using Texts = std::vector<std::string>;

constexpr std::string_view hello = R"({"op":"hello"})";
constexpr std::string_view asking = R"({"op":"state","state":"awaiting-consent"})";
constexpr std::string_view started = R"({"op":"started","width":1920})";
constexpr std::string_view start = R"({"op":"start"})";
constexpr std::string_view stop = R"({"op":"stop"})";

class ProgramStateTest : public ::testing::Test {
 protected:
  void receive(std::string_view text) { state_.received(frame(text)); }
  void send(std::string_view text) { state_.sent(frame(text)); }

  Texts told() const {
    Texts texts;
    for (const auto& each : state_.messages()) {
      texts.emplace_back(reinterpret_cast<const char*>(each.payload.data()), each.payload.size());
    }
    return texts;
  }

  ProgramState state_;

 private:
  static Frame frame(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {static_cast<std::uint8_t>(FrameKind::control), Bytes(bytes.begin(), bytes.end())};
  }
};

TEST_F(ProgramStateTest, IsTheGreetingAndHowFarTheSessionHasCome) {
  EXPECT_EQ(told(), Texts());
  receive(hello);
  EXPECT_EQ(told(), Texts({std::string(hello)}));
  send(start);
  receive(asking);
  EXPECT_EQ(told(), Texts({std::string(hello), std::string(asking)}));
  receive(started);
  receive(R"({"op":"other"})");
  receive("[]");
  EXPECT_EQ(told(), Texts({std::string(hello), std::string(started)}));
}

TEST_F(ProgramStateTest, ARefusedSessionIsOver) {
  for (const auto* refusal : {R"({"op":"denied"})", R"({"op":"fault"})"}) {
    receive(started);
    EXPECT_EQ(told().size(), 1U);
    receive(refusal);
    EXPECT_EQ(told(), Texts()) << refusal;
  }
}

TEST_F(ProgramStateTest, AStoppedSessionIsOverAlsoWhereItsStartIsToldLater) {
  send(start);
  receive(asking);
  send(stop);
  receive(started);
  EXPECT_EQ(told(), Texts());
  send(start);
  receive(asking);
  EXPECT_EQ(told(), Texts({std::string(asking)}));
}

TEST_F(ProgramStateTest, EndsWithTheProgramAndBeginsWithItsGreeting) {
  receive(hello);
  receive(started);
  receive(hello);
  EXPECT_EQ(told(), Texts({std::string(hello)}));
  send(stop);
  state_.clear();
  EXPECT_EQ(told(), Texts());
  receive(started);
  EXPECT_EQ(told(), Texts({std::string(started)}));
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE

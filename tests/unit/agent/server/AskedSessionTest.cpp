#include "agent/server/AskedSession.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vesk::agent::VESK_FILE {
namespace {

class AskedSessionTest : public ::testing::Test {
 protected:
  void send(std::string_view text, FrameKind kind = FrameKind::control) {
    session_.sent(frame(text, kind));
  }

  void receive(std::string_view text) { session_.received(frame(text, FrameKind::control)); }

  static Frame frame(std::string_view text, FrameKind kind) {
    const auto bytes = std::as_bytes(std::span(text));
    return {static_cast<std::uint8_t>(kind), Bytes(bytes.begin(), bytes.end())};
  }

  AskedSession session_;
};

TEST_F(AskedSessionTest, IsWantedFromStartToStop) {
  EXPECT_FALSE(session_.isWanted());
  send(R"({"op":"start","viewer":"Ada"})");
  send(R"({"op":"keyframe"})");
  EXPECT_TRUE(session_.isWanted());
  send(R"({"op":"stop"})");
  EXPECT_FALSE(session_.isWanted());
}

TEST_F(AskedSessionTest, IsNotWantedByWhatIsNoRequest) {
  send(R"({"op":"start"})", FrameKind::input);
  send("start");
  EXPECT_FALSE(session_.isWanted());
}

TEST_F(AskedSessionTest, IsNotWantedWhenItWasRefused) {
  for (const auto* refusal : {R"({"op":"denied"})", R"({"op":"fault"})"}) {
    send(R"({"op":"start"})");
    receive(R"({"op":"state","state":"awaiting-consent"})");
    EXPECT_TRUE(session_.isWanted());
    receive(refusal);
    EXPECT_FALSE(session_.isWanted()) << refusal;
  }
  send(R"({"op":"start"})");
  EXPECT_TRUE(session_.isWanted());
}

TEST_F(AskedSessionTest, IsWantedAgainWhenTheRefusalWasAnEarlierRequests) {
  send(R"({"op":"start"})");
  send(R"({"op":"stop"})");
  send(R"({"op":"start"})");
  receive(R"({"op":"denied"})");
  receive(R"({"op":"started"})");
  EXPECT_TRUE(session_.isWanted());
}

TEST_F(AskedSessionTest, IsNotWantedByTheProgram) {
  receive(R"({"op":"started"})");
  EXPECT_FALSE(session_.isWanted());
}

TEST_F(AskedSessionTest, EndsWithTheProgram) {
  send(R"({"op":"start"})");
  session_.clear();
  EXPECT_FALSE(session_.isWanted());
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE

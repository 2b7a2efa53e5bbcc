#include "agent/server/AskedSession.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vesk::agent {
namespace {

class AskedSessionTest : public ::testing::Test {
 protected:
  void send(std::string_view text, FrameKind kind = FrameKind::control) {
    const auto bytes = std::as_bytes(std::span(text));
    session_.sent({static_cast<std::uint8_t>(kind), Bytes(bytes.begin(), bytes.end())});
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

TEST_F(AskedSessionTest, EndsWithTheProgram) {
  send(R"({"op":"start"})");
  session_.clear();
  EXPECT_FALSE(session_.isWanted());
}

}  // namespace
}  // namespace vesk::agent

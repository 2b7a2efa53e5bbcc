#include <gtest/gtest.h>

#include <xkbcommon/xkbcommon-keysyms.h>

#include "x11/EventRecorder.h"
#include "x11/Session.h"

namespace vesk::testing {
namespace {

using Kind = Received::Kind;

constexpr int shiftMask = 1;
constexpr int lockMask = 2;
constexpr int controlMask = 4;
constexpr int altMask = 8;
constexpr int superMask = 64;

class RecorderTest : public ::testing::Test {
 protected:
  Session session_;
  EventRecorder recorder_;
  Hands hands_;
};

TEST_F(RecorderTest, GetsMotionAtTheVeryPixel) {
  hands_.move(0.5, 0.25);
  hands_.move(0, 0);
  hands_.move(1, 1);
  const auto got = recorder_.take();
  ASSERT_EQ(got.size(), 3U);
  EXPECT_EQ(got[0].kind, Kind::motion);
  EXPECT_EQ(std::pair(got[0].x, got[0].y), std::pair(960, 270));
  EXPECT_EQ(std::pair(got[1].x, got[1].y), std::pair(0, 0));
  EXPECT_EQ(std::pair(got[2].x, got[2].y), std::pair(1919, 1079));
}

TEST_F(RecorderTest, GetsText) {
  hands_.text("Hello, Wörld! Grüße 日本語 😀🎉 Ωλδ Жыд ł");
  EXPECT_EQ(recorder_.takeText(), "Hello, Wörld! Grüße 日本語 😀🎉 Ωλδ Жыд ł");
}

TEST_F(RecorderTest, GetsKeysWithTheirModifiers) {
  hands_.key(160, true, 1);
  hands_.strike('A', 1);
  hands_.key(160, false, 0);
  hands_.strike('A', 15);
  hands_.strike('A', 0);
  const auto got = recorder_.take();
  for (const auto& e : got)
    std::fprintf(stderr, "%d %d %x %x\n", int(e.kind), e.detail, e.state, e.symbol);
}

}  // namespace
}  // namespace vesk::testing

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "e2e/Browser.h"
#include "e2e/RecordedStream.h"
#include "e2e/StreamDecoders.h"

namespace vesk::testing::VESK_FILE {
namespace {

using Key = RecordedStream::Key;
using Screen = RecordedStream::Screen;

/// What we put in between, number anew and repeat by hand is right only if nobody sees it
/// otherwise: a decoder that forgives one fault hides it.
class DecodersTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { browser = std::make_unique<Browser>(); }
  static void TearDownTestSuite() { browser.reset(); }

  /// Every decoder makes one picture of each access unit, and the same one.
  static void expectSeenAlike(const RecordedStream& stream) {
    const auto& units = stream.accessUnits();
    const auto seen = seenByOpenH264(units);
    EXPECT_EQ(seen.fault, "");
    EXPECT_EQ(seen.pictures.size(), units.size());
    expectTheSame("ffmpeg", seenByFfmpeg(units), seen);
    expectTheSame("the browser", seenByBrowser(*browser, units), seen);
  }

 private:
  static void expectTheSame(const char* decoder, const Seen& seen, const Seen& expected) {
    SCOPED_TRACE(decoder);
    EXPECT_EQ(seen.fault, "");
    EXPECT_EQ(seen.pictures.size(), expected.pictures.size());
    const auto both = std::min(seen.pictures.size(), expected.pictures.size());
    for (std::size_t i = 0; i < both; ++i) {
      ASSERT_EQ(seen.pictures[i], expected.pictures[i]) << "picture " << i;
    }
  }

  static inline std::unique_ptr<Browser> browser;
};

TEST_F(DecodersTest, SeeAStillPageAlike) {
  RecordedStream stream({"still text", {1920, 1080}, 4000, 24});
  stream.record(90);
  EXPECT_GT(stream.repeatedKeyFrames(), 0);
  EXPECT_GT(stream.skips(), 30);
  expectSeenAlike(stream);
}

TEST_F(DecodersTest, SeeTypingAlike) {
  RecordedStream stream({.content = "typing", .kilobitsPerSecond = 1000, .picturesToKeyFrame = 50});
  stream.record(120);
  EXPECT_GT(stream.skips(), 30);
  EXPECT_GT(stream.composed(), 30);
  expectSeenAlike(stream);
}

TEST_F(DecodersTest, SeeScrollingAlike) {
  RecordedStream stream({.content = "scrolling"});
  stream.record(75);
  stream.record(15, Screen::standsStill);
  expectSeenAlike(stream);
}

TEST_F(DecodersTest, SeeMovingWindowsAlike) {
  RecordedStream stream({.content = "moving windows", .kilobitsPerSecond = 2000});
  stream.record(24);
  stream.record(40, Screen::standsStill);
  EXPECT_GT(stream.skips(), 5);
  expectSeenAlike(stream);
}

/// So slow that most pictures are left out, and the rest are of the coarsest kind.
TEST_F(DecodersTest, SeeASlowLinkAlike) {
  RecordedStream stream(
      {.content = "moving windows", .kilobitsPerSecond = 200, .picturesToKeyFrame = 60});
  stream.record(100);
  EXPECT_GT(stream.skips(), 30);
  expectSeenAlike(stream);
}

TEST_F(DecodersTest, SeeAChangingRateAlike) {
  RecordedStream stream(
      {.content = "scrolling", .kilobitsPerSecond = 8000, .picturesToKeyFrame = 25});
  stream.record(40);
  stream.setRate(250);
  stream.record(40);
  stream.setRate(8000);
  stream.record(40);
  EXPECT_EQ(stream.kindsOfParameterSets(), 2) << "no other encoder took over";
  expectSeenAlike(stream);
}

TEST_F(DecodersTest, SeeKeyFramesInARowAlike) {
  RecordedStream stream({.content = "typing"});
  stream.record(5, Screen::goesOn, Key::inEach);
  stream.record(10);
  stream.record(4, Screen::standsStill, Key::inEach);
  stream.record(20, Screen::standsStill);
  stream.record(3, Screen::standsStill, Key::inEach);
  stream.record(10);
  EXPECT_EQ(stream.keyFramesInARow(), 4 + 3 + 2);
  EXPECT_EQ(stream.confusedKeyFrames(), 0);
  EXPECT_GT(stream.skips(), 10);
  expectSeenAlike(stream);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE

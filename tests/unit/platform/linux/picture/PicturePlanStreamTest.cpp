#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "unit/platform/linux/picture/PlannedStream.h"

/// Whole streams, as somebody sees them who looks at the screen.

namespace vesk::picture::VESK_FILE {
namespace {

using Action = PicturePlan::Action;

constexpr std::size_t macroblocks = PlannedStream::macroblocks;
constexpr int second = PlannedStream::picturesPerSecond;

struct Film {
  std::int64_t rate;
  double density;
  double fresh;
};

/// A page that stands still for a while, and a film after it.
PlannedStream filmAfterRest(const Film& film, int rest, int pictures) {
  PlannedStream stream(film.rate, film.density);
  stream.fresh = film.fresh;
  stream.show(macroblocks);
  stream.rest(rest);
  for (int i = 0; i < pictures; ++i) stream.show(macroblocks);
  return stream;
}

class PicturePlanFilmTest : public ::testing::TestWithParam<Film> {};

TEST_P(PicturePlanFilmTest, IsNeverFarBehindAndNeverTakesMoreThanTheLinkDoes) {
  for (const int rest : {3, 100}) {
    const auto stream = filmAfterRest(GetParam(), rest, 12 * second);
    EXPECT_LE(stream.worstDelay(), 0.65) << rest;
    EXPECT_LE(stream.fullestWindow(), 1.1) << rest;
  }
}

TEST_P(PicturePlanFilmTest, UsesTheLink) {
  for (const int rest : {3, 100}) {
    const auto stream = filmAfterRest(GetParam(), rest, 12 * second);
    const std::size_t from = static_cast<std::size_t>(rest) + std::size_t{4} * second;
    EXPECT_GE(stream.load(from, std::size_t{8} * second) / 8, 0.55) << rest;
  }
}

/// Neither does a key frame show, nor is anything coarse for long because of one.
TEST_P(PicturePlanFilmTest, LooksTheSameThroughout) {
  const auto stream = filmAfterRest(GetParam(), 100, 12 * second);
  int finest = PicturePlan::worstQuantiser;
  int coarsest = 0;
  for (std::size_t i = 100 + 4 * second; i < stream.pictures.size(); ++i) {
    const int quantiser = static_cast<int>(stream.pictures[i].seen);
    finest = std::min(finest, quantiser);
    coarsest = std::max(coarsest, quantiser);
  }
  EXPECT_LE(coarsest - finest, 10);
}

/// As large as a moving one may be, or as fine as the pictures around it.
TEST_P(PicturePlanFilmTest, HasRoomForItsKeyFrames) {
  const auto stream = filmAfterRest(GetParam(), 100, 12 * second);
  for (std::size_t i = 101; i < stream.pictures.size(); ++i) {
    const auto& picture = stream.pictures[i];
    if (!picture.decision.keyFrame) continue;
    const int before = stream.pictures[i - 1].decision.quantiser;
    const bool isFine = picture.decision.quantiser <= before + 1;
    EXPECT_TRUE(isFine || picture.decision.wantedBits >= 0.25 * stream.rate()) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Films, PicturePlanFilmTest,
                         ::testing::Values(Film{300'000, 20, 0.05}, Film{300'000, 20, 0.3},
                                           Film{300'000, 60, 0.3}, Film{1'000'000, 20, 0.05},
                                           Film{1'000'000, 20, 0.3}, Film{1'000'000, 60, 0.05},
                                           Film{4'000'000, 20, 0.3}, Film{4'000'000, 60, 0.05},
                                           Film{4'000'000, 60, 0.3}, Film{4'000'000, 150, 0.05},
                                           Film{4'000'000, 150, 0.3}),
                         [](const auto& film) {
                           return std::to_string(film.param.rate) + "_" +
                                  std::to_string(static_cast<int>(film.param.density)) + "_" +
                                  std::to_string(static_cast<int>(100 * film.param.fresh));
                         });

/// Where even the coarsest pictures are too many, too.
TEST(PicturePlanStreamTest, NeverTakesMoreThanTheLinkDoesThoughPicturesAreLeftOut) {
  for (const int rest : {3, 100}) {
    const auto stream = filmAfterRest({300'000, 150, 0.3}, rest, 12 * second);
    EXPECT_LE(stream.fullestWindow(), 1.1);
    EXPECT_LE(stream.worstDelay(), 0.65);
    const auto isHeld = [](const auto& each) { return each.decision.action == Action::hold; };
    EXPECT_GT(std::ranges::count_if(stream.pictures, isHeld), 0);
    EXPECT_LT(std::ranges::count_if(stream.pictures, isHeld), second);
  }
}

/// The screen becomes coarse in steps that are no larger than they must be.
TEST(PicturePlanStreamTest, GoesFromAGoodPageToAFilmInSteps) {
  auto stream = filmAfterRest({4'000'000, 60, 0.15}, 100, 1);
  int before = stream.last().decision.quantiser;
  ASSERT_LT(before, 20);
  int largest = 0;
  for (int i = 0; i < second / 2; ++i) {
    const int next = stream.show(macroblocks).decision.quantiser;
    largest = std::max(largest, next - before);
    before = next;
  }
  EXPECT_EQ(largest, 8);
}

/// What waits is worse than a step that shows.
TEST(PicturePlanStreamTest, GoesToAFilmAtOnceWhereTheLinkIsBehind) {
  auto stream = filmAfterRest({4'000'000, 60, 0.15}, 100, 1);
  const int before = stream.last().decision.quantiser;
  stream.plan.sent({.action = Action::skip}, 0.25 * stream.rate(), 0);
  EXPECT_GT(stream.show(macroblocks).decision.quantiser, before + 8);
}

/// What waits leaves within a second or two, before the film becomes finer.
TEST(PicturePlanStreamTest, CatchesUpBeforeAFilmBecomesFiner) {
  constexpr double rate = 4e6;
  PicturePlan plan(macroblocks, PlannedStream::mostBits, {});
  PicturePlan::Tick tick;
  tick.elapsed = PlannedStream::interval;
  tick.untilKey = std::chrono::seconds(3);
  tick.bitRate = static_cast<std::int64_t>(rate);
  const auto send = [&](std::size_t changed, double bits) {
    tick.changed = changed;
    const auto decision = plan.next(tick);
    plan.sent(decision, bits, 30);
    return decision;
  };
  send(macroblocks, 0.5 * rate);
  for (int i = 0; i < 2 * second; ++i) send(0, 0);
  for (int i = 0; i < 2 * second; ++i) send(macroblocks, rate / second);
  for (int i = 0; i < 2; ++i) send(macroblocks, 0.5 * rate / second);
  const int before = send(macroblocks, 0.5 * rate / second).quantiser;
  for (int i = 0; i < 3 * second; ++i) send(0, 0);
  auto caughtUp = plan;
  tick.changed = macroblocks;
  EXPECT_LT(caughtUp.next(tick).quantiser, before);
  plan.sent({.action = Action::skip}, (0.2 + 1.0 / second) * rate, 0);
  EXPECT_LE(plan.next(tick).wantedBits * (second + 1), (1.1 - 0.2) * rate);
}

TEST(PicturePlanStreamTest, BecomesGoodOnceAFilmIsOver) {
  auto stream = filmAfterRest({4'000'000, 60, 0.3}, 100, 90);
  ASSERT_GT(stream.worstSeen(), 35);
  stream.rest(2 * second);
  EXPECT_LE(stream.worstSeen(), 22);
  EXPECT_EQ(stream.missing(), 0U);
}

/// A page that is read while it goes by.
class PicturePlanScrollTest : public ::testing::Test {
 protected:
  PicturePlanScrollTest() {
    stream.mostPieces = 60;
    stream.show(macroblocks);
    stream.rest(2 * second);
  }

  PlannedStream stream{4'000'000, 100};
};

TEST_F(PicturePlanScrollTest, StaysGoodWithoutBeingEncoded) {
  for (int i = 0; i < second; ++i) {
    EXPECT_TRUE(stream.scroll(6000, 90).decision.moves) << i;
    EXPECT_LE(stream.worstSeen(), 16) << i;
  }
  EXPECT_LE(stream.worstDelay(10), 0.65);
}

TEST_F(PicturePlanScrollTest, IsSoonGoodAgainBehindAKeyFrame) {
  while (!stream.scroll(6000, 90).decision.keyFrame) continue;
  ASSERT_GT(stream.last().seen, 30);
  for (int i = 0; i < second; ++i) stream.scroll(6000, 90);
  EXPECT_LE(stream.last().seen, 25);
  stream.rest(second);
  EXPECT_LE(stream.last().seen, 18);
  EXPECT_LE(stream.worstDelay(), 0.65);
  EXPECT_LE(stream.fullestWindow(), 1.1);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE

#include "platform/linux/picture/MacroblockMarks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "platform/linux/picture/X264Encoder.h"

namespace vesk::picture::VESK_FILE {
namespace {

using composed::FoundMove;
using composed::Run;
using composed::Shift;
using Runs = std::vector<Run>;
using Tick = PicturePlan::Tick;

constexpr int across = 12;
constexpr int down = 10;
constexpr int width = across * macroblockEdge;
constexpr int height = down * macroblockEdge;
constexpr std::size_t all = across * down;

/// Macroblocks in raster order.
using Places = std::vector<std::size_t>;

Places places(std::size_t first, std::size_t count) {
  Places some(count);
  std::iota(some.begin(), some.end(), first);
  return some;
}

/// The marks of a stream after a key frame, and its images.
class MacroblockMarksTest : public ::testing::Test {
 protected:
  MacroblockMarksTest() {
    image_.changedAt.resize(all);
    next(places(0, all), 0);
    marks_.mark({.keyFrame = true, .quantiser = 14});
  }

  /// What is told of the next image, in which these have changed.
  Tick next(const Places& changed, int bearable) {
    const auto before = image_.sequence++;
    for (const auto at : changed) image_.changedAt[at] = image_.sequence;
    Tick tick;
    marks_.compare(image_, before, bearable, tick);
    return tick;
  }

  /// These are encoded anew, at that quantiser.
  void encode(const Places& changed, int quantiser) {
    next(changed, 51);
    marks_.mark({.quantiser = quantiser});
  }

  /// What is to be encoded, after what was marked last.
  Places encoded() {
    Places found;
    for (std::size_t at = 0; at < all; ++at) {
      if (marks_.unchanged()[at] == 0) found.push_back(at);
    }
    return found;
  }

  Nv12Image image_{{width, height}};
  MacroblockMarks marks_{across, down};
};

/// `moved` goes along by whole macroblocks, and `left` is found nowhere.
FoundMove found(const Places& moved, const Shift& shift, const Places& left) {
  const std::vector<std::uint8_t> none(all);
  FoundMove move{{across, none, shift}, none, none, moved.size(), left.size()};
  for (const auto at : moved) move.moved.marks[at] = 1;
  for (const auto at : left) move.left[at] = 1;
  return move;
}

TEST_F(MacroblockMarksTest, TellWhatHasChangedSinceTheImageBefore) {
  const auto some = next({3, 4, 60, 119}, 51);
  EXPECT_EQ(some.changed, 4U);
  EXPECT_EQ(some.pieces, 3U);
  EXPECT_EQ(next({60}, 51).pieces, 1U);
  const auto none = next({}, 51);
  EXPECT_EQ(none.changed, 0U);
  EXPECT_EQ(none.pieces, 0U);
}

TEST_F(MacroblockMarksTest, TakeWhatWasNeverEncodedForTheCoarsestThereIs) {
  MacroblockMarks fresh(across, down);
  Tick tick;
  fresh.compare(image_, image_.sequence, 14, tick);
  EXPECT_EQ(tick.changed, 0U);
  EXPECT_EQ(tick.coarse, all);
  EXPECT_EQ(tick.coarseQuantiser, PicturePlan::worstQuantiser);
}

/// And of the few that are much like them, so that these are made better together.
TEST_F(MacroblockMarksTest, TellOfTheCoarsestOfWhatHasNotChanged) {
  encode(places(0, 10), 40);
  encode(places(20, 6), 36);
  encode(places(40, 7), 35);
  const auto alike = next({}, 14);
  EXPECT_EQ(alike.coarse, 16U);
  EXPECT_EQ(alike.coarseQuantiser, (10 * 40 + 6 * 36) / 16);

  const auto changed = next(places(0, 10), 14);
  EXPECT_EQ(changed.changed, 10U);
  EXPECT_EQ(changed.coarse, 13U);
  EXPECT_EQ(changed.coarseQuantiser, (6 * 36 + 7 * 35) / 13);
}

TEST_F(MacroblockMarksTest, TellOfNothingThatIsBearable) {
  encode(places(0, 10), 40);
  encode(places(20, 6), 39);
  EXPECT_EQ(next({}, 39).coarse, 10U);
  const auto bearable = next({}, 40);
  EXPECT_EQ(bearable.coarse, 0U);
  EXPECT_EQ(bearable.coarseQuantiser, 0);
}

TEST_F(MacroblockMarksTest, EncodeWhatHasChangedAndLeaveTheRest) {
  next({0, 50, 119}, 51);
  EXPECT_FALSE(marks_.mark({.quantiser = 20}));
  EXPECT_EQ(encoded(), (Places{0, 50, 119}));
  EXPECT_EQ(marks_.unchanged()[1], X264Encoder::unchangedMark());
}

TEST_F(MacroblockMarksTest, EncodeAllOfAKeyFrame) {
  encode(places(0, 10), 40);
  next({5}, 14);
  EXPECT_FALSE(marks_.mark({.keyFrame = true, .quantiser = 30})) << "nothing else is left";
  EXPECT_EQ(encoded(), places(0, all));
  EXPECT_EQ(next({}, 29).coarse, all);
}

TEST_F(MacroblockMarksTest, SayWhetherAnythingStaysCoarserThanThePicture) {
  encode({7}, 30);
  next({0}, 51);
  EXPECT_FALSE(marks_.mark({.quantiser = 30}));
  next({0}, 51);
  EXPECT_TRUE(marks_.mark({.quantiser = 29}));
  next({7}, 51);
  EXPECT_FALSE(marks_.mark({.quantiser = 29})) << "that one is as fine now";
}

/// In short rows, of which each part of the picture has as many.
TEST_F(MacroblockMarksTest, SpreadWhatIsMadeBetterEvenly) {
  encode(places(0, all), 40);
  next({}, 14);
  EXPECT_TRUE(marks_.mark({.quantiser = 20, .refined = all / 4}));
  const auto better = encoded();
  ASSERT_EQ(better.size(), all / 4);
  for (std::size_t quarter = 0; quarter < 4; ++quarter) {
    const auto isThere = [&](auto at) { return at / (all / 4) == quarter; };
    EXPECT_NEAR(static_cast<double>(std::ranges::count_if(better, isThere)), all / 16, 6);
  }
  EXPECT_EQ(composed::changedRuns(marks_.unchanged(), across).size(), all / 4 / 6);

  const auto rest = next({}, 20);
  EXPECT_EQ(rest.coarse, all * 3 / 4);
  EXPECT_FALSE(marks_.mark({.quantiser = 20, .refined = rest.coarse}));
  EXPECT_EQ(encoded().size(), all * 3 / 4) << "all of the rest";
}

/// Of a few long rows a composed picture is cheaper.
TEST_F(MacroblockMarksTest, KeepTogetherWhatAComposedPictureMakesBetter) {
  encode(places(0, all), 40);
  next({}, 14);
  marks_.mark({.quantiser = 20, .refined = PicturePlan::composedPiece, .composed = true});
  const auto better = encoded();
  ASSERT_EQ(better.size(), PicturePlan::composedPiece);
  EXPECT_EQ(better.back() - better.front() + 1, better.size());
}

TEST_F(MacroblockMarksTest, MakeBetterOnlyWhatIsCoarse) {
  encode(places(30, 12), 40);
  next({0}, 14);
  marks_.mark({.quantiser = 20, .refined = 12});
  EXPECT_EQ(encoded(), (Places{0, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41}));
  next({}, 19);
  marks_.mark({.quantiser = 18, .refined = 0});
  EXPECT_EQ(encoded(), Places{});

  encode({100}, 40);
  next({}, 20);
  marks_.mark({.quantiser = 20, .refined = 1});
  EXPECT_EQ(encoded(), Places{100}) << "a single one";
}

TEST_F(MacroblockMarksTest, MakeTheCoarsestBetterBeforeWhatIsLessSo) {
  encode(places(0, all), 30);
  encode(places(40, 30), 40);
  EXPECT_EQ(next({}, 14).coarse, 30U);
  marks_.mark({.quantiser = 20, .refined = 30});
  EXPECT_EQ(encoded(), places(40, 30));
}

TEST_F(MacroblockMarksTest, MakeNothingCoarserThatIsToBecomeBetter) {
  encode(places(0, 12), 40);
  next({}, 14);
  EXPECT_FALSE(marks_.mark({.quantiser = 40, .refined = 12}));
  EXPECT_EQ(encoded(), Places{});
}

TEST_F(MacroblockMarksTest, PutWhatIsEncodedIntoPieces) {
  next({24, 30, 31, 32}, 51);
  marks_.mark({.quantiser = 20});
  EXPECT_EQ(marks_.windows(), (Runs{{2, 0, 1}, {2, 1, 8}}));
  const auto beside = found({25, 26}, {0, -16}, {24, 30, 31, 32});
  EXPECT_EQ(marks_.windows(beside), (Runs{{2, 0, 1}, {2, 6, 2}, {2, 8, 1}}));
}

TEST_F(MacroblockMarksTest, TellOfAMoveWhatIsLeftAndHowCoarseTheRestIs) {
  encode(places(48, 12), 20);
  encode(places(60, 12), 26);
  encode({0, 1}, 40);
  encode({2}, 38);
  Places changed = places(36, 24);
  next(changed, 30);
  const auto told = marks_.compare(found(places(36, 24), {0, -12}, {100, 101, 110}));
  EXPECT_EQ(told.changed, 3U);
  EXPECT_EQ(told.pieces, 2U);
  EXPECT_EQ(told.quantiser, (12 * 20 + 12 * 26) / 24) << "of where each comes from, the coarser";
  EXPECT_EQ(told.coarse, 3U);
  EXPECT_EQ(told.coarseQuantiser, (40 + 40 + 38) / 3);
}

TEST_F(MacroblockMarksTest, TellOfASingleOneThatMovesAndASingleCoarseOne) {
  encode({0}, 40);
  next({36}, 14);
  const auto told = marks_.compare(found({36}, {0, -16}, {}));
  EXPECT_EQ(told.changed, 0U);
  EXPECT_EQ(told.pieces, 0U);
  EXPECT_EQ(told.quantiser, 14);
  EXPECT_EQ(told.coarse, 1U);
  EXPECT_EQ(told.coarseQuantiser, 40);
}

/// What has moved, and what is encoded anyhow, is not made better.
TEST_F(MacroblockMarksTest, TellOfAMoveNothingCoarseThatGoesAlongOrIsLeft) {
  encode(places(0, 36), 40);
  next({}, 14);
  const auto told = marks_.compare(found(places(0, 12), {0, -16}, places(12, 12)));
  EXPECT_EQ(told.coarse, 12U);
  EXPECT_EQ(told.coarseQuantiser, 40);
  const auto none = marks_.compare(found(places(0, 12), {0, -16}, places(12, 24)));
  EXPECT_EQ(none.coarse, 0U);
  EXPECT_EQ(none.coarseQuantiser, 0);
  EXPECT_EQ(marks_.compare(found({}, {0, -16}, {5})).quantiser, 0) << "of nothing";
}

TEST_F(MacroblockMarksTest, EncodeWhatAMoveHasLeftAndTakeAlongHowCoarseTheRestWas) {
  encode(places(60, 12), 40);
  next(places(48, 24), 14);
  const auto move = found(places(48, 12), {0, -16}, places(60, 12));
  marks_.compare(move);
  marks_.mark({.quantiser = 20, .composed = true, .moves = true}, move);
  EXPECT_EQ(encoded(), places(60, 12));
  const auto after = next({}, 19);
  EXPECT_EQ(after.coarse, 12U) << "those that have moved";
  EXPECT_EQ(after.coarseQuantiser, 40);
  EXPECT_EQ(next(places(48, 12), 19).coarse, 12U) << "those that were left";
}

TEST_F(MacroblockMarksTest, MakeSomeBetterBesideAMove) {
  encode(places(0, 72), 40);
  next(places(84, 12), 14);
  const auto move = found(places(84, 12), {0, -16}, {});
  EXPECT_EQ(marks_.compare(move).coarse, 72U);
  marks_.mark({.quantiser = 20, .refined = 36, .composed = true, .moves = true}, move);
  const auto better = encoded();
  EXPECT_EQ(better, places(30, 30)) << "a piece of them";
  EXPECT_EQ(next({}, 14).coarse, 72U - better.size());

  marks_.compare(found({}, {0, -16}, {}));
  marks_.mark({.quantiser = 40, .refined = 42, .composed = true, .moves = true},
              found({}, {0, -16}, {}));
  EXPECT_EQ(encoded(), Places{}) << "no finer";
}

TEST_F(MacroblockMarksTest, MakeOnlyTheCoarsestBetterBesideAMove) {
  encode(places(0, all), 30);
  encode(places(0, 60), 40);
  next(places(84, 12), 14);
  const auto move = found(places(84, 12), {0, -16}, {119});
  EXPECT_EQ(marks_.compare(move).coarse, 60U);
  marks_.mark({.quantiser = 20, .refined = 60, .composed = true, .moves = true}, move);
  auto wanted = places(0, 60);
  wanted.push_back(119);
  EXPECT_EQ(encoded(), wanted);
}

/// Moved again and again, its colours would be smeared, so it is to be encoded before long.
TEST_F(MacroblockMarksTest, TakeWhatHasFadedForCoarse) {
  next(places(48, 12), 14);
  auto move = found(places(48, 12), {0, -17}, {60});
  move.faded[48] = 1;
  move.faded[49] = 2;
  move.faded[60] = 1;
  marks_.compare(move);
  marks_.mark({.quantiser = 20, .composed = true, .moves = true}, move);
  EXPECT_EQ(marks_.faded()[48], 1);
  EXPECT_EQ(marks_.faded()[49], 2);
  EXPECT_EQ(marks_.faded()[60], 0) << "it was encoded";
  const auto after = next({}, PicturePlan::readableQuantiser);
  EXPECT_EQ(after.coarse, 2U);

  encode({48}, 14);
  EXPECT_EQ(marks_.faded()[48], 0);
  EXPECT_EQ(marks_.faded()[49], 2);
}

TEST_F(MacroblockMarksTest, LeaveWhatHasFadedAsCoarseAsItWas) {
  encode({48}, 47);
  next({}, 14);
  auto move = found({}, {0, -17}, {});
  move.faded[48] = 1;
  marks_.compare(move);
  marks_.mark({.quantiser = 20, .composed = true, .moves = true}, move);
  EXPECT_EQ(next({}, 14).coarseQuantiser, 47);
}

TEST_F(MacroblockMarksTest, KnowOfNoFadingWhereNoneIsToldOf) {
  auto move = found({50}, {0, -16}, {});
  move.faded.clear();
  next({50}, 14);
  marks_.compare(move);
  marks_.mark({.quantiser = 20, .composed = true, .moves = true}, move);
  EXPECT_EQ(marks_.faded(), std::vector<std::uint8_t>(all));
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE

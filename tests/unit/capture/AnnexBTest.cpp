#include "capture/annexB.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

Bytes filled(std::size_t size, int value) { return Bytes(size, static_cast<std::byte>(value)); }

void append(Bytes& target, const Bytes& more) {
  target.insert(target.end(), more.begin(), more.end());
}

/// A unit behind a length that need not be true.
void appendUnit(Bytes& data, std::uint32_t length, const Bytes& unit) {
  for (int shift = 24; shift >= 0; shift -= 8) data.push_back(std::byte(length >> shift & 0xff));
  append(data, unit);
}

Bytes lengthPrefixed(const std::vector<Bytes>& units) {
  Bytes data;
  for (const auto& unit : units) appendUnit(data, static_cast<std::uint32_t>(unit.size()), unit);
  return data;
}

Bytes byteStream(const std::vector<Bytes>& units) {
  Bytes stream;
  for (const auto& unit : units) {
    append(stream, {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}});
    append(stream, unit);
  }
  return stream;
}

const std::vector<Bytes> parameterSets{filled(10, 0x67), filled(4, 0x68)};

EncodedSample sample(Bytes data, std::optional<bool> notSync) {
  EncodedSample made;
  made.data = std::move(data);
  made.notSync = notSync;
  made.parameterSets = parameterSets;
  return made;
}

TEST(AnnexBTest, PutsTheParameterSetsInFrontOfAKeyFrame) {
  const Bytes slice = filled(1200, 0x65);
  const auto unit = annexB(sample(lengthPrefixed({slice}), false));
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->size(), 1226U);
  EXPECT_EQ(*unit, byteStream({parameterSets[0], parameterSets[1], slice}));
}

TEST(AnnexBTest, GivesADeltaFrameItsUnitsAlone) {
  const std::vector<Bytes> units{filled(5, 0x41), filled(7, 0x41)};
  EXPECT_EQ(annexB(sample(lengthPrefixed(units), true)), byteStream(units));
}

TEST(AnnexBTest, TakesAFrameOfUnknownKindForAKeyFrame) {
  const Bytes slice = filled(9, 0x65);
  EXPECT_EQ(annexB(sample(lengthPrefixed({slice}), std::nullopt)),
            byteStream({parameterSets[0], parameterSets[1], slice}));
}

TEST(AnnexBTest, SendsTheParameterSetsOfAKeyFrameThatHoldsNoUnit) {
  EXPECT_EQ(annexB(sample(filled(2, 0x11), false)), byteStream(parameterSets));
  EXPECT_EQ(annexB(sample(filled(2, 0x11), true)), std::nullopt);
}

TEST(AnnexBTest, EndsAtAUnitThatClaimsMoreThanThereIs) {
  Bytes data = lengthPrefixed({filled(3, 0x41)});
  appendUnit(data, 6, filled(5, 0x42));
  EXPECT_EQ(annexB(sample(data, true)), byteStream({filled(3, 0x41)}));
  Bytes huge = lengthPrefixed({filled(3, 0x41)});
  appendUnit(huge, 0xffffffff, filled(5, 0x42));
  EXPECT_EQ(annexB(sample(huge, true)), byteStream({filled(3, 0x41)}));
}

TEST(AnnexBTest, EndsAtAnEmptyUnit) {
  Bytes data = lengthPrefixed({filled(3, 0x41)});
  appendUnit(data, 0, {});
  appendUnit(data, 2, filled(2, 0x41));
  EXPECT_EQ(annexB(sample(data, true)), byteStream({filled(3, 0x41)}));
}

TEST(AnnexBTest, EndsBeforeALengthThatIsCutShort) {
  Bytes data = lengthPrefixed({filled(3, 0x41)});
  append(data, filled(3, 0));
  EXPECT_EQ(annexB(sample(data, true)), byteStream({filled(3, 0x41)}));
}

TEST(AnnexBTest, SendsNothingWithoutData) {
  EXPECT_EQ(annexB(sample({}, false)), std::nullopt);
  EncodedSample none = sample({}, false);
  none.data.reset();
  EXPECT_EQ(annexB(none), std::nullopt);
}

TEST(AnnexBTest, DoesWithoutParameterSetsThatTheEncoderDoesNotGive) {
  EncodedSample bare = sample(lengthPrefixed({filled(4, 0x65)}), false);
  bare.parameterSets.reset();
  EXPECT_EQ(annexB(bare), byteStream({filled(4, 0x65)}));
}

TEST(AnnexBTest, WritesAnEmptyParameterSetAsAStartCode) {
  EncodedSample odd = sample(lengthPrefixed({filled(4, 0x65)}), false);
  odd.parameterSets = {{filled(2, 0x67), {}}};
  EXPECT_EQ(annexB(odd), byteStream({filled(2, 0x67), {}, filled(4, 0x65)}));
}

TEST(AnnexBTest, LeavesStartCodesInsideAUnitAlone) {
  const Bytes unit{std::byte{0x41}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0}};
  EXPECT_EQ(annexB(sample(lengthPrefixed({unit}), true)), byteStream({unit}));
}

}  // namespace
}  // namespace vesk::VESK_FILE

#include "link/Frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

#include "support/UnixListener.h"

namespace vesk::VESK_FILE {
namespace {

using testing::bytes;

/// A stream that hands out its bytes in the pieces that the test chose.
class PiecewiseStream {
 public:
  explicit PiecewiseStream(std::initializer_list<Bytes> pieces) : pieces_(pieces) {}

  ReadSome reader() {
    return [this](std::span<std::byte> buffer) -> std::ptrdiff_t {
      if (pieces_.empty()) return 0;
      Bytes& piece = pieces_.front();
      const std::size_t count = std::min(piece.size(), buffer.size());
      std::copy_n(piece.begin(), count, buffer.begin());
      piece.erase(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
      if (piece.empty()) pieces_.pop_front();
      return static_cast<std::ptrdiff_t>(count);
    };
  }

 private:
  std::deque<Bytes> pieces_;
};

Bytes header(int kind, std::uint32_t length) {
  Bytes result = frameBytes(static_cast<FrameKind>(kind), {});
  for (std::size_t i = 0; i < 4; ++i) result[1 + i] = static_cast<std::byte>(length >> (8 * i));
  return result;
}

TEST(FrameKindTest, IsNamedByOneTwoAndThreeOnly) {
  EXPECT_EQ(frameKind(1), FrameKind::control);
  EXPECT_EQ(frameKind(2), FrameKind::input);
  EXPECT_EQ(frameKind(3), FrameKind::video);
  EXPECT_EQ(frameKind(0), std::nullopt);
  for (int raw = 4; raw <= 255; ++raw) {
    EXPECT_EQ(frameKind(static_cast<std::uint8_t>(raw)), std::nullopt) << raw;
  }
}

TEST(FrameBytesTest, CountThePayloadOnlyLeastSignificantByteFirst) {
  EXPECT_EQ(frameBytes(FrameKind::control, bytes({0x7b, 0x7d})),
            bytes({0x01, 0x02, 0x00, 0x00, 0x00, 0x7b, 0x7d}));
  const Bytes frame = frameBytes(FrameKind::input, Bytes(0x012345));
  EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 5), bytes({0x02, 0x45, 0x23, 0x01, 0x00}));
  EXPECT_EQ(frame.size(), 0x012345U + frameHeaderSize);
}

TEST(FrameBytesTest, AreTheHeaderAloneForAnEmptyPayload) {
  EXPECT_EQ(frameBytes(FrameKind::control, {}), bytes({0x01, 0x00, 0x00, 0x00, 0x00}));
}

/// The payload is refused for its size alone, before anybody looks at it.
TEST(FrameBytesDeathTest, EndsTheProcessForAPayloadWhoseLengthDoesNotFit) {
  const auto byte = std::byte{0};
  const ByteView tooLong(&byte, std::size_t{1} << 32U);
  EXPECT_DEATH(frameBytes(FrameKind::video, tooLong),
               "a frame's payload does not fit its 32-bit length");
}

TEST(VideoPayloadTest, MakesTheFrameOfAThousandByteAccessUnit) {
  const Bytes accessUnit(1000, std::byte{0x5a});
  Bytes expected = bytes({0x03, 0xec, 0x03, 0x00, 0x00, 0xb8, 0x0b, 0x00, 0x00});
  expected.insert(expected.end(), accessUnit.begin(), accessUnit.end());
  EXPECT_EQ(frameBytes(FrameKind::video, videoPayload(accessUnit, Ticks{3000})), expected);
}

TEST(VideoPayloadTest, CarriesTheLargestDuration) {
  EXPECT_EQ(videoPayload({}, Ticks{0xfedcba98}), bytes({0x98, 0xba, 0xdc, 0xfe}));
}

TEST(ReadFrameTest, AssemblesAHeaderThatComesInPieces) {
  PiecewiseStream stream{bytes({2}), bytes({3, 0, 0, 0}), bytes({7}), bytes({8, 9})};
  const auto frame = readFrame(stream.reader());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->kind, 2);
  EXPECT_EQ(frame->payload, bytes({7, 8, 9}));
}

TEST(ReadFrameTest, ReadsAnEmptyFrameAndThenTheNext) {
  PiecewiseStream stream{bytes({1, 0, 0, 0, 0, 2, 1, 0, 0, 0, 42})};
  const auto empty = readFrame(stream.reader());
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->kind, 1);
  EXPECT_TRUE(empty->payload.empty());
  const auto next = readFrame(stream.reader());
  ASSERT_TRUE(next);
  EXPECT_EQ(next->payload, bytes({42}));
}

TEST(ReadFrameTest, ReadsUnknownKindsWholeToStayInStep) {
  for (const int kind : {0, 4, 255}) {
    Bytes input = header(kind, 10);
    input.resize(input.size() + 10);
    const Bytes next = frameBytes(FrameKind::control, bytes({1}));
    PiecewiseStream stream{input, next};
    EXPECT_EQ(readFrame(stream.reader())->kind, kind);
    EXPECT_EQ(readFrame(stream.reader())->payload, bytes({1}));
  }
}

TEST(ReadFrameTest, AcceptsTheLongestPayloadAndRefusesOneByteMore) {
  PiecewiseStream longest{header(1, 1'048'576), Bytes(1'048'576)};
  const auto frame = readFrame(longest.reader());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->payload.size(), 1'048'576U);

  PiecewiseStream longer{header(1, 1'048'577), Bytes(1'048'577)};
  EXPECT_FALSE(readFrame(longer.reader()));
  PiecewiseStream largest{header(1, 0xffffffff)};
  EXPECT_FALSE(readFrame(largest.reader()));
}

TEST(ReadFrameTest, EndsWithTheStreamInEveryPlace) {
  const Bytes whole = frameBytes(FrameKind::input, bytes({1, 2, 3}));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    PiecewiseStream stream{
        Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))};
    if (length == 0) stream = PiecewiseStream{};
    EXPECT_FALSE(readFrame(stream.reader())) << length;
  }
}

TEST(ReadFrameTest, EndsOnAnError) {
  EXPECT_FALSE(readFrame([](std::span<std::byte>) { return std::ptrdiff_t{-1}; }));
}

}  // namespace
}  // namespace vesk::VESK_FILE

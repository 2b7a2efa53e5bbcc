#include "agent/FrameAssembler.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

TEST(FrameAssemblerTest, AssemblesFramesFromSingleBytes) {
  const Bytes payload(300, std::byte{7});
  Bytes stream = frameBytes(FrameKind::video, payload);
  const Bytes empty = frameBytes(FrameKind::control, {});
  stream.insert(stream.end(), empty.begin(), empty.end());

  FrameAssembler assembler;
  std::vector<Frame> frames;
  for (const std::byte byte : stream) {
    assembler.append({&byte, 1});
    while (auto frame = assembler.next()) frames.push_back(std::move(*frame));
  }
  ASSERT_EQ(frames.size(), 2U);
  EXPECT_EQ(frames[0].kind, 3);
  EXPECT_EQ(frames[0].payload, payload);
  EXPECT_EQ(frames[1].kind, 1);
  EXPECT_TRUE(frames[1].payload.empty());
  EXPECT_EQ(assembler.pending(), 0U);
}

TEST(FrameAssemblerTest, CutsManyFramesFromOnePiece) {
  Bytes stream;
  for (int i = 0; i < 100; ++i) {
    const Bytes frame = frameBytes(FrameKind::input, Bytes(static_cast<std::size_t>(i)));
    stream.insert(stream.end(), frame.begin(), frame.end());
  }
  stream.push_back(std::byte{1});
  FrameAssembler assembler;
  assembler.append(stream);
  for (std::size_t i = 0; i < 100; ++i) {
    const auto frame = assembler.next();
    ASSERT_TRUE(frame) << i;
    EXPECT_EQ(frame->payload.size(), i);
  }
  EXPECT_FALSE(assembler.next());
  EXPECT_EQ(assembler.pending(), 1U);
}

TEST(FrameAssemblerTest, TakesAKeyFrameOfManyMegabytes) {
  const Bytes payload(std::size_t{3} * 1024 * 1024, std::byte{9});
  FrameAssembler assembler;
  assembler.append(frameBytes(FrameKind::video, payload));
  const auto frame = assembler.next();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->payload, payload);
}

TEST(FrameAssemblerTest, IsBrokenByALengthThatNoFrameHas) {
  const auto header = [](std::size_t length) {
    Bytes bytes{std::byte{3}};
    for (int shift = 0; shift < 32; shift += 8) {
      bytes.push_back(static_cast<std::byte>(length >> shift));
    }
    return bytes;
  };
  FrameAssembler largest;
  largest.append(header(FrameAssembler::maxFrameSize));
  EXPECT_FALSE(largest.next());
  EXPECT_FALSE(largest.brokenBy());

  FrameAssembler broken;
  broken.append(header(FrameAssembler::maxFrameSize + 1));
  EXPECT_FALSE(broken.next());
  EXPECT_EQ(broken.brokenBy(), FrameAssembler::maxFrameSize + 1);
  broken.append(frameBytes(FrameKind::control, {}));
  EXPECT_FALSE(broken.next());
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE

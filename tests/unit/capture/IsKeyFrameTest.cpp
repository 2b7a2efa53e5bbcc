#include "capture/isKeyFrame.h"

#include <gtest/gtest.h>

#include "support/UnixListener.h"

namespace vesk::VESK_FILE {
namespace {

using vesk::testing::bytes;

TEST(IsKeyFrameTest, IsTrueWhereADecoderCanBegin) {
  EXPECT_TRUE(isKeyFrame(bytes({0, 0, 0, 1, 0x67, 0x42})));
  EXPECT_TRUE(isKeyFrame(bytes({0, 0, 0, 1, 0x27})));
  EXPECT_TRUE(isKeyFrame(bytes({0, 0, 0, 1, 0x65, 0x88})));
}

TEST(IsKeyFrameTest, IsFalseForEveryOther) {
  for (const int type : {0x41, 0x61, 0x01, 0x06, 0x68, 0x09, 0x00, 0x15, 0x17, 0x1f}) {
    EXPECT_FALSE(isKeyFrame(bytes({0, 0, 0, 1, type, 0x9a}))) << type;
  }
  EXPECT_FALSE(isKeyFrame(bytes({})));
  EXPECT_FALSE(isKeyFrame(bytes({0, 0, 0, 1})));
}

}  // namespace
}  // namespace vesk::VESK_FILE

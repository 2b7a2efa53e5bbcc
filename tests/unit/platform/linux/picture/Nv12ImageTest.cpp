#include "platform/linux/picture/Nv12Image.h"

#include <gtest/gtest.h>

namespace vesk::picture::VESK_FILE {
namespace {

TEST(Nv12ImageTest, IsBlackAtFirst) {
  const Nv12Image image({70, 51});
  for (int x = 0; x < 70; ++x) {
    for (int y = 0; y < 51; ++y) ASSERT_EQ(image.luma()[y * image.stride() + x], 16);
    for (int y = 0; y < 26; ++y) ASSERT_EQ(image.chroma()[y * image.stride() + x], 128);
  }
}

TEST(Nv12ImageTest, KnowsOfEveryMacroblock) {
  EXPECT_EQ(Nv12Image({70, 50}).changedAt.size(), 5U * 4U);
  EXPECT_EQ(Nv12Image({64, 48}).changedAt.size(), 4U * 3U);
}

TEST(Nv12ImageTest, BeginsEachRowWhereAVectorFits) {
  for (const int width : {2, 64, 65, 70, 1920}) {
    const Nv12Image image({width, 50});
    EXPECT_GE(image.stride(), width);
    EXPECT_LT(image.stride(), width + 64);
    EXPECT_EQ(image.stride() % 64, 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.luma()) % 64, 0U);
    EXPECT_EQ(image.chroma(), image.luma() + image.stride() * 50);
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE

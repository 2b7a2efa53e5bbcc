#include "platform/linux/x11/beneath/ClearedRoot.h"

#include <gtest/gtest.h>

#include <array>

namespace vesk::x11::beneath::VESK_FILE {
namespace {

constexpr PixelRect area{100, 50, 20, 20};
const std::vector<PixelRect> bare{{100, 50, 20, 5}, {110, 60, 10, 10}};

class ClearedRootTest : public ::testing::Test {
 protected:
  ClearedRootTest() { pixels.fill(1); }

  const std::uint8_t* picture() const {
    return reinterpret_cast<const std::uint8_t*>(pixels.data());
  }

  ClearedRoot root{area};
  std::array<std::uint32_t, 400> pixels{};
};

TEST_F(ClearedRootTest, IsSeenOnceWhereAllThatIsBareHasAnotherColour) {
  EXPECT_FALSE(root.isSeenIn(picture())) << "nothing was drawn";
  root.note(bare, {area}, picture());
  pixels.fill(2);
  EXPECT_TRUE(root.isSeenIn(picture()));
  EXPECT_FALSE(root.isSeenIn(picture()));
}

TEST_F(ClearedRootTest, IsNotSeenInTheSameColour) {
  root.note(bare, {area}, picture());
  EXPECT_FALSE(root.isSeenIn(picture()));
}

TEST_F(ClearedRootTest, IsNotSeenInAPicture) {
  root.note(bare, {area}, picture());
  pixels.fill(2);
  pixels[19 * 20 + 19] = 3;
  EXPECT_FALSE(root.isSeenIn(picture()));
}

TEST_F(ClearedRootTest, IsSeenInTheColourThatSomeOfItHad) {
  pixels[0] = 2;
  root.note(bare, {area}, picture());
  pixels.fill(2);
  EXPECT_TRUE(root.isSeenIn(picture()));
}

TEST_F(ClearedRootTest, IsNotSeenWhereOnlyAPartWasDrawn) {
  root.note(bare, {{100, 50, 20, 19}}, picture());
  pixels.fill(2);
  EXPECT_FALSE(root.isSeenIn(picture()));
}

TEST_F(ClearedRootTest, IsNotSeenWhereNothingIsBare) {
  root.note({}, {area}, picture());
  pixels.fill(2);
  EXPECT_FALSE(root.isSeenIn(picture()));
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE

#include "agent/KeyPicture.h"

#include <gtest/gtest.h>

namespace vesk::agent::VESK_FILE {
namespace {

bool isKey(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return isKeyPicture(bytes);
}

TEST(KeyPictureTest, HasANalUnitOfTypeFive) {
  EXPECT_TRUE(isKey({0, 0, 0, 1, 0x65}));
  EXPECT_TRUE(isKey({0, 0, 0, 1, 0x67, 9, 0, 0, 0, 1, 0x68, 9, 0, 0, 0, 1, 0x25, 9}));
  EXPECT_TRUE(isKey({0, 0, 1, 0x06, 1, 0, 0, 1, 0x05}));
}

TEST(KeyPictureTest, IsNoOtherPicture) {
  EXPECT_FALSE(isKey({}));
  EXPECT_FALSE(isKey({1}));
  EXPECT_FALSE(isKey({1, 5}));
  EXPECT_FALSE(isKey({0, 1, 5}));
  EXPECT_FALSE(isKey({0, 0, 0, 1}));
  EXPECT_FALSE(isKey({0, 0, 0, 1, 0x41, 5, 0, 1, 5, 0, 0, 3, 1, 5}));
  EXPECT_FALSE(isKey({0, 0, 0, 1, 0x67, 9, 0, 0, 0, 1, 0x41}));
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE

#include "platform/linux/x11/input/HeldRecord.h"

#include <gtest/gtest.h>

namespace vesk::x11::input::VESK_FILE {
namespace {

TEST(HeldRecordTest, ReadsBackWhatItWrites) {
  Held held;
  EXPECT_TRUE(encode(held).empty());
  EXPECT_TRUE(held.empty());
  held.keys = {8, 38, 255};
  held.buttons = {1, 3};
  held.typing = {10, 11};
  held.mapped = {97, 103};
  held.locks = Locks{0x12, 3};
  held.capsLock = true;
  EXPECT_EQ(decode(encode(held)), held);
  EXPECT_EQ(encode(held).size(), 11U);
}

TEST(HeldRecordTest, KeepsLocksThatAreAllOff) {
  Held held;
  held.locks = Locks{};
  EXPECT_EQ(decode(encode(held)).locks, Locks{});
  EXPECT_FALSE(held.empty());
}

TEST(HeldRecordTest, LeavesOutNonsense) {
  // No such kind, keycodes below the lowest and beyond a byte, button 0.
  EXPECT_TRUE(decode({0, 1, 0xFFFFFFFF, 7U << 16, (1U << 16) | 7, (1U << 16) | 256, 2U << 16,
                      (3U << 16) | 0xFFFF, 4U << 16})
                  .empty());
}

}  // namespace
}  // namespace vesk::x11::input::VESK_FILE

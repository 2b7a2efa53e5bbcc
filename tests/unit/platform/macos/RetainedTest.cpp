#include "platform/macos/Retained.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "platform/macos/dictionaryOf.h"

namespace vesk::mac::VESK_FILE {
namespace {

CFNumberRef number() {
  const std::int64_t value = 0x123456789abcdef;  // too large to be kept in the pointer itself
  return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
}

TEST(RetainedTest, IsEmptyAtFirst) {
  const Retained<CFNumberRef> none;
  EXPECT_FALSE(none);
  EXPECT_EQ(none.get(), nullptr);
  EXPECT_FALSE(adopt<CFNumberRef>(nullptr));
  EXPECT_FALSE(Retained<CFNumberRef>::share(nullptr));
}

TEST(RetainedTest, OwnsWhatItAdopts) {
  const auto owned = adopt(number());
  EXPECT_TRUE(owned);
  EXPECT_EQ(CFGetRetainCount(owned.get()), 1);
}

TEST(RetainedTest, GivesCopiesAReferenceOfTheirOwn) {
  const auto owned = adopt(number());
  {
    const auto copy = owned;
    const auto shared = Retained<CFNumberRef>::share(owned.get());
    EXPECT_EQ(CFGetRetainCount(owned.get()), 3);
  }
  EXPECT_EQ(CFGetRetainCount(owned.get()), 1);
}

TEST(RetainedTest, LetsGoOfWhatItIsAssignedOver) {
  const auto other = adopt(number());
  auto owned = other;
  owned = adopt(number());
  EXPECT_EQ(CFGetRetainCount(other.get()), 1);
  const auto moved = std::move(owned);
  EXPECT_EQ(CFGetRetainCount(moved.get()), 1);
}

TEST(DictionaryOfTest, HoldsItsOneEntry) {
  const auto dictionary = dictionaryOf(kCFRunLoopDefaultMode, kCFBooleanTrue);
  ASSERT_TRUE(dictionary);
  EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), kCFRunLoopDefaultMode), kCFBooleanTrue);
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
